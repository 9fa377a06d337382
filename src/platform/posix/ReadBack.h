#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

#include "BelowRoot.h"
#include "FileManager.h"
#include "KernelCalls.h"
#include "StopSource.h"

namespace fillstation {

// A range of everything that was written to a volume, one file after another: [begin, end).
struct SampleRange {
  std::int64_t begin = 0;
  std::int64_t end = 0;

  bool operator==(const SampleRange&) const = default;
};

// The sizes that determine the samples of a volume, in bytes.
struct WrittenSizes {
  std::int64_t total = 0;
  std::int64_t first = 0;  // of the first file that isn't empty
  std::int64_t last = 0;   // of the last one
};

// The unit of the samples in bytes: no smaller part of a medium fails alone.
constexpr std::int64_t kSampleBlock = 4096;
// The number of equal strata. Each has one sample at a random place, so that neighbouring samples
// are less than 2/128 of the whole apart: a loss of 2 % in one piece always contains one.
constexpr std::int64_t kStrata = 128;
// The samples cover at least one of this number of bytes.
constexpr std::int64_t kOneIn = 50;

// The ranges to be read back, in order and disjoint: one in each stratum, and the first and the
// last block of the first and the last file. They contain a single bad block with a probability of
// at least 1/kOneIn. All of a small total.
std::vector<SampleRange> sampleRanges(const WrittenSizes& sizes, std::uint64_t seed);

// Compares a volume with the files that were copied to it. A source that has changed since is not
// compared; its copy must still be there and readable. Takes 256 KiB of memory, and 32 KiB for each
// level of folders, for any number of files. One thread. The stop, the calls and the descriptor of
// the volume's root, which was mounted after the copy, outlive it.
class ReadBack {
 public:
  // The beginning of all destinations, without a "/" at its end; the time when the copy began.
  ReadBack(int root, std::string mountPath, const std::timespec& since, const StopSource& stop,
           KernelCalls& calls);

  // True if all names exist, in their order if the file system keeps one, with the sizes of their
  // sources, and the seed's samples have the right content. False if the stop is requested.
  bool holds(const CopiedItems& items, std::uint64_t seed, bool keepsOrder);

  // The last destination that was checked: after a failure, the different one.
  const std::string& latest() const { return latest_; }

 private:
  enum class Piece { kSame, kOther, kUnreadable };

  bool namesHold(const CopiedItems& items, bool keepsOrder, WrittenSizes& sizes);
  bool samplesHold(const CopiedItems& items, const std::vector<SampleRange>& ranges);
  // On the volume; empty for what isn't below it.
  Components pathOf(const CopiedItem& item) const;
  bool sizeHolds(const CopiedItem& item, std::int64_t size) const;
  bool hasChanged(const struct stat& source) const;
  // Whether these bytes of the file have the source's content.
  bool contentHolds(const CopiedItem& item, const SampleRange& range);
  // The next bytes of a file and of its source, -1 for none.
  Piece compare(int file, int source, std::int64_t begin, std::size_t count);

  const int root_;
  const std::string mountPath_;
  const std::timespec since_;
  std::string latest_;
  const StopSource& stop_;
  KernelCalls& calls_;
  std::vector<char> fromFile_;
  std::vector<char> fromSource_;
};

}  // namespace fillstation
