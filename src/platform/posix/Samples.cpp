#include "Samples.h"

#include <algorithm>
#include <random>

namespace fillstation {

namespace {

// In order, those that touch made one.
std::vector<SampleRange> merged(std::vector<SampleRange> ranges) {
  std::sort(ranges.begin(), ranges.end(), [](const SampleRange& left, const SampleRange& right) {
    return left.begin < right.begin;
  });
  std::vector<SampleRange> apart;
  for (const auto& range : ranges) {
    if (range.begin >= range.end) {
      continue;
    }
    if (!apart.empty() && range.begin <= apart.back().end) {
      apart.back().end = std::max(apart.back().end, range.end);
    } else {
      apart.push_back(range);
    }
  }
  return apart;
}

}  // namespace

std::vector<SampleRange> sampleRanges(const WrittenSizes& sizes, std::uint64_t seed) {
  const std::int64_t total = sizes.total;
  const std::int64_t first = std::min(kSampleBlock, sizes.first);
  const std::int64_t last = std::min(kSampleBlock, sizes.last);
  std::vector<SampleRange> ranges{{0, first},
                                  {sizes.first - first, sizes.first},
                                  {total - sizes.last, total - sizes.last + last},
                                  {total - last, total}};
  std::mt19937_64 random(seed);
  for (std::int64_t stratum = 0; stratum < kStrata; ++stratum) {
    // Divided first: a total near the limit of the type must not overflow.
    const std::int64_t begin = total / kStrata * stratum + total % kStrata * stratum / kStrata;
    const std::int64_t next =
        total / kStrata * (stratum + 1) + total % kStrata * (stratum + 1) / kStrata;
    const std::int64_t length =
        std::min(next - begin, std::max(kSampleBlock, (next - begin) / kOneIn + 1));
    const std::int64_t at =
        std::uniform_int_distribution<std::int64_t>(begin, next - length)(random);
    ranges.push_back({at, at + length});
  }
  return merged(std::move(ranges));
}

}  // namespace fillstation
