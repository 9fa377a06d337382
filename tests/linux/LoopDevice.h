#pragma once

#include <string>

#include "FileHandle.h"

namespace fillstation::test {

// A block device made of a file, in a box whose /run/box/loop-control leads to the kernel's. Gone
// when nobody has it open any more. A plain value.
struct LoopDevice {
  // Makes it of an open file. Number 0 and no device when that can't be.
  static LoopDevice of(int file);

  // Its node in the box, and its number as "7:3".
  std::string node() const;
  std::string deviceNumber() const;

  FileHandle device;
  int number = 0;
};

}  // namespace fillstation::test
