#pragma once

#include <cstdlib>
#include <memory>

#include "DiskSession.h"

namespace fillstation {

struct FreeCString {
  void operator()(char* text) const { std::free(text); }
};

// A C string made with strdup() or std::malloc().
using OwnedCString = std::unique_ptr<char, FreeCString>;

// What getDiskVolume() does, and whether it was done to the end: false when the program began to
// end during a pause.
bool findDiskVolume(Disk& disk, OwnedCString& volumeName, OwnedCString& volumePath);

}  // namespace fillstation
