#include "Book.h"

#include <random>

namespace fillstation::faults {

namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr int kTracks = 10;
constexpr int kTracksOfAPart = 4;

}  // namespace

std::string noise(std::uint32_t seed, std::int64_t count) {
  std::mt19937 random(seed);
  std::string bytes(static_cast<std::size_t>(count), '\0');
  for (auto& byte : bytes) {
    byte = static_cast<char>(random() & 0xFFU);
  }
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
