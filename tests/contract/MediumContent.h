#pragma once

#include <vector>

#include "BackEnd.h"

namespace fillstation::contract {

// Everything in the FAT32 file system of an image, in directory order, a directory before what it
// holds.
std::vector<OnMedium> contentOfImage(int descriptor);

}  // namespace fillstation::contract
