#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "ReadBack.h"

namespace fillstation {
namespace {

using Ranges = std::vector<SampleRange>;

std::int64_t bytesIn(const Ranges& ranges) {
  std::int64_t bytes = 0;
  for (const auto& range : ranges) {
    bytes += range.end - range.begin;
  }
  return bytes;
}

bool touches(const Ranges& ranges, std::int64_t begin, std::int64_t end) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [&](const auto& range) { return range.begin < end && begin < range.end; });
}

TEST(SamplesTest, AnyPieceOfTwoPercentHoldsOneAtEverySeed) {
  for (const std::int64_t total : {1'000'000L, 200L << 20U, 1'000'003L * 16384}) {
    const std::int64_t piece = total / 50;
    for (std::uint64_t seed = 0; seed < 60; ++seed) {
      const Ranges ranges = sampleRanges({total, total / 3, total / 7}, seed);
      for (std::int64_t begin = 0; begin + piece <= total; begin += piece / 13) {
        ASSERT_TRUE(touches(ranges, begin, begin + piece)) << total << " " << seed << " " << begin;
      }
    }
  }
}

TEST(SamplesTest, LieInOrderApartAndInside) {
  for (const std::int64_t total : {0L, 1L, 4096L, 600'000L, 1L << 40U}) {
    std::int64_t end = -1;
    for (const auto& range : sampleRanges({total, total, total}, 7)) {
      EXPECT_GT(range.begin, end);
      EXPECT_LT(range.begin, range.end);
      end = range.end;
    }
    EXPECT_LE(end, total);
  }
}

TEST(SamplesTest, HoldTheEndsOfTheFirstAndTheLastFile) {
  const std::int64_t total = 1L << 34U;
  const std::int64_t first = 3L << 30U;
  const std::int64_t last = 5L << 30U;
  for (std::uint64_t seed = 0; seed < 20; ++seed) {
    const Ranges ranges = sampleRanges({total, first, last}, seed);
    for (const std::int64_t begin :
         {std::int64_t{0}, first - 4096, total - last, total - std::int64_t{4096}}) {
      for (const std::int64_t at : {begin, begin + 4095}) {
        EXPECT_TRUE(touches(ranges, at, at + 1)) << seed << " " << at;
      }
    }
  }
}

TEST(SamplesTest, CoverAllOfALittleAndAFiftiethOfALot) {
  EXPECT_EQ(sampleRanges({512 << 10, 9, 9}, 1), (Ranges{{0, 512 << 10}}));
  EXPECT_EQ(sampleRanges({1000, 9, 9}, 1), (Ranges{{0, 1000}}));
  const std::int64_t total = 1L << 36U;
  const std::int64_t bytes = bytesIn(sampleRanges({total, 1, 1}, 1));
  EXPECT_GE(bytes, total / 50);
  EXPECT_LE(bytes, total / 50 + (1 << 20));
}

TEST(SamplesTest, DifferFromSeedToSeedAndBearTheLargestTotal) {
  EXPECT_NE(sampleRanges({1L << 30U, 1, 1}, 1), sampleRanges({1L << 30U, 1, 1}, 2));
  const std::int64_t most = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(sampleRanges({most, most, most}, 3).back().end, most);
}

}  // namespace
}  // namespace fillstation
