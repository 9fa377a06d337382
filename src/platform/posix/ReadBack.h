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

// Bytes of everything that was written to a volume, one file behind the other: [begin, end).
struct SampleRange {
  std::int64_t begin = 0;
  std::int64_t end = 0;

  bool operator==(const SampleRange&) const = default;
};

// What is written to a volume, as far as its samples depend on it. Bytes.
struct WrittenSizes {
  std::int64_t total = 0;
  std::int64_t first = 0;  // of the first file that isn't empty
  std::int64_t last = 0;   // of the last one
};

// The medium's unit of which samples are made, in bytes: no smaller piece goes bad alone.
constexpr std::int64_t kSampleBlock = 4096;
// One sample lies at a random place in each of so many equal strata, so that two neighbours are
// less than 2/128 of everything apart: a loss of 2 % in one piece always holds one.
constexpr std::int64_t kStrata = 128;
// The part of everything that samples cover at least: one in so many bytes.
constexpr std::int64_t kOneIn = 50;

// The ranges to be read back, in order and apart from each other: one in each stratum, and the
// first and the last block of the first and the last file. A single bad block is among them with a
// probability of at least 1/kOneIn. All of a small total.
std::vector<SampleRange> sampleRanges(const WrittenSizes& sizes, std::uint64_t seed);

// Compares what a volume holds with what was copied onto it. A source that has changed since is
// not compared; what was copied of it must still be there and be readable. Takes 256 KiB of memory
// and 32 KiB for each level of folders, however many files there are. One thread; the descriptor of
// the volume's root, which was mounted after the copy, the stop and the calls outlive it.
class ReadBack {
 public:
  // What the destinations begin with, without a "/" at the end; when the copy began.
  ReadBack(int root, std::string mountPath, const std::timespec& since, const StopSource& stop,
           KernelCalls& calls);

  // True when all names are there, in their order where the file system keeps one, with the sizes
  // of their sources, and the samples that the seed chooses have their content. False as well when
  // the stop is requested.
  bool holds(const CopiedItems& items, std::uint64_t seed, bool keepsOrder);

  // The destination that was looked at last: after a failure, the one that differs.
  const std::string& latest() const { return latest_; }

 private:
  enum class Piece { kSame, kOther, kUnreadable };

  bool namesHold(const CopiedItems& items, bool keepsOrder, WrittenSizes& sizes);
  bool samplesHold(const CopiedItems& items, const std::vector<SampleRange>& ranges);
  bool sizeHolds(const CopiedItem& item, std::int64_t size) const;
  bool hasChanged(const struct stat& source) const;
  // Whether these bytes of the file have the source's content.
  bool contentHolds(const CopiedItem& item, const SampleRange& range);
  // The next bytes of a file beside those of its source, -1 for none.
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
