#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "TRFile.h"

namespace fillstation {

// Why a player's file system will not take a node, or the folder that it is in.
enum class FatReason {
  kName,       // it can't hold the name
  kTooLarge,   // 4 GiB or more
  kSamePlace,  // something is there already, of this root or of an earlier one
  kTooMany     // its folder has no slot left
};

// A node that will fail.
struct FatRefusal {
  std::size_t root = 0;  // its number in the list
  std::string path;      // on the player
  FatReason reason = FatReason::kName;
};

// What FAT32 will refuse of these roots, in their order. Whether all of it fits isn't looked at,
// nor a single file as a root, which always fails. Ends early, with what it has, when `stopped`
// says so. Any thread.
std::vector<FatRefusal> refusedByFat(const TRFileList& roots, const std::function<bool()>& stopped);

}  // namespace fillstation
