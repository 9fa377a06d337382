#pragma once

#include <cstdint>
#include <string>

#include "TempFolder.h"

namespace fillstation::faults {

// Bytes of one of the book's ten tracks, so that a track is a tenth of the copy.
inline constexpr std::int64_t kTrackBytes = 20'000;

// Writes the folder `book`: ten tracks of equal size with contents of their own, in folders, beside
// a file of another type; and more audio on demand.
void writeBook(const test::TempFolder& folder, std::int64_t moreMiB = 0);

// Bytes that no other seed gives and nobody would write by chance.
std::string noise(std::uint32_t seed, std::int64_t count);

}  // namespace fillstation::faults
