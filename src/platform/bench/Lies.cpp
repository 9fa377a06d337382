#include "Lies.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>

namespace fillstation {

namespace {

using Block = std::array<char, 4096>;

bool readBlock(int image, std::int64_t at, Block& block) {
  return ::pread(image, block.data(), block.size(), at) == static_cast<ssize_t>(block.size());
}

bool writeBlock(int image, std::int64_t at, const Block& block) {
  return ::pwrite(image, block.data(), block.size(), at) == static_cast<ssize_t>(block.size());
}

// Two addresses of one block: what was written last, which is never the fresh one, is in both.
bool wrapBlock(int image, std::int64_t at, std::int64_t end, Block block) {
  const std::int64_t alias = at % end;
  return std::all_of(block.begin(), block.end(), [](char byte) { return byte == 0; })
             ? readBlock(image, alias, block) && writeBlock(image, at, block)
             : writeBlock(image, alias, block);
}

}  // namespace

bool applyLie(int image, const BenchFaults& faults) {
  struct stat status {};
  if (faults.lie == Lie::kNone || ::fstat(image, &status) != 0) {
    return faults.lie == Lie::kNone;
  }
  const bool toTheEnd = faults.lieBytes == 0 || faults.lieBytes > status.st_size - faults.lieFrom;
  const std::int64_t end = toTheEnd ? status.st_size : faults.lieFrom + faults.lieBytes;
  constexpr auto kBlock = static_cast<std::int64_t>(sizeof(Block));
  bool done = true;
  for (std::int64_t at = faults.lieFrom; at <= end - kBlock && done; at += kBlock) {
    Block block{};
    done = readBlock(image, at, block);
    switch (faults.lie) {
      case Lie::kWraps:
        done = done && wrapBlock(image, at, faults.lieFrom, block);
        break;
      case Lie::kFlips:
        block[0] = static_cast<char>(block[0] ^ 1);
        done = done && writeBlock(image, at, block);
        break;
      default:
        done = done && writeBlock(image, at, Block{});
    }
  }
  return done;
}

}  // namespace fillstation
