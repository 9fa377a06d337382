#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "TRFile.h"

namespace fillstation {

// Why FAT32 will refuse a node, or the folder that it is in.
enum class FatReason {
  kName,       // the name is not allowed
  kTooLarge,   // 4 GiB or more
  kSamePlace,  // this root or an earlier one already has a node with this path
  kTooMany     // its folder has no free slot
};

// A node that will fail.
struct FatRefusal {
  std::size_t root = 0;  // index in the list
  std::string path;      // on the player
  FatReason reason = FatReason::kName;
};

// The nodes of these roots that FAT32 will refuse, in their order. Does not check whether
// everything fits, nor single files as roots, which always fail. Ends early, with the result so
// far, when `stopped` returns true. Any thread.
std::vector<FatRefusal> refusedByFat(const TRFileList& roots, const std::function<bool()>& stopped);

}  // namespace fillstation
