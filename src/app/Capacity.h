#pragma once

#include <cstdint>
#include <string>

namespace fillstation {

// The figures of the capacity labels and the texts made of sizes. One KB is 1024 bytes, one MB
// 1024 x 1024. Pure functions; any thread.

// The value truncated toward zero. From 2^63 up it is reduced by 2^63, truncated, and gets its top
// bit set; anything smaller, negatives included, is truncated as a signed number whose bits are
// taken as unsigned. What fits neither (below -2^63, from 2^64 up, not a number) gives 2^63.
std::uint64_t unsignedFromDouble(double value);

// Whole megabytes by the rule above.
std::uint64_t megabytesOf(std::int64_t bytes);

// "7580 MB" from one megabyte up, else "1023 KB"; both truncated.
std::string capacityText(std::int64_t bytes);

// The difference, which wraps around instead of overflowing.
std::int64_t spaceLeft(std::int64_t capacity, std::int64_t used);

// As capacityText(), but kilobytes are unsigned too: a negative space shows as a figure near 2^64,
// the only sign that the files don't fit.
std::string spaceLeftText(std::int64_t bytes);

// A file's size for a person: "812 bytes", "1023 KB", "4.2 MB", from ten megabytes up "7580 MB";
// all truncated. The size is not negative.
std::string fileSizeText(std::int64_t bytes);

}  // namespace fillstation
