#include "Book.h"

#include <algorithm>
#include <random>

namespace fillstation::faults {

namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kBlock = 64 * 1024;
constexpr int kTracks = 10;
constexpr int kTracksOfAPart = 4;

}  // namespace

std::string noise(std::uint32_t seed, std::int64_t count) {
  std::mt19937 random(seed);
  std::string block(static_cast<std::size_t>(std::min(count, kBlock)), '\0');
  for (auto& byte : block) {
    byte = static_cast<char>(random() & 0xFFU);
  }
  // No two blocks are alike.
  std::string bytes;
  while (static_cast<std::int64_t>(bytes.size()) < count) {
    bytes += block;
    bytes[bytes.size() - block.size()] = static_cast<char>(random() & 0xFFU);
  }
  bytes.resize(static_cast<std::size_t>(count));
  return bytes;
}

void writeBook(const test::TempFolder& folder, std::int64_t moreMiB) {
  std::uint32_t seed = 1;
  for (int track = 0; track < kTracks; ++track) {
    folder.write("book/Part " + std::to_string(track / kTracksOfAPart + 1) + "/" +
                     std::to_string(track + 1) + " Überfahrt.mp3",
                 noise(seed++, kTrackBytes));
  }
  folder.write("book/note.txt", "no audio");
  for (std::int64_t number = 0; number < moreMiB; number += 5) {
    folder.write("book/Long/" + std::to_string(number) + ".mp3", noise(seed++, 5 * kMiB));
  }
}

}  // namespace fillstation::faults
