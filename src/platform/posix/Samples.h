#pragma once

#include <cstdint>
#include <vector>

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

}  // namespace fillstation
