#include "Capacity.h"

#include <cmath>
#include <limits>

namespace fillstation {
namespace {

constexpr double kTwoTo63 = 9223372036854775808.0;
constexpr std::uint64_t kTopBit = std::uint64_t{1} << 63U;
constexpr std::int64_t kKilobyte = 1024;
constexpr std::int64_t kMegabyte = kKilobyte * kKilobyte;

std::int64_t truncated(double value) {
  const bool fits = value >= -kTwoTo63 && value < kTwoTo63;
  return fits ? static_cast<std::int64_t>(value) : std::numeric_limits<std::int64_t>::min();
}

}  // namespace

std::uint64_t unsignedFromDouble(double value) {
  if (value >= kTwoTo63) {
    return static_cast<std::uint64_t>(truncated(value - kTwoTo63)) | kTopBit;
  }
  return static_cast<std::uint64_t>(truncated(value));
}

std::uint64_t megabytesOf(std::int64_t bytes) {
  return unsignedFromDouble(static_cast<double>(bytes) / std::pow(1024.0, 2.0));
}

std::string capacityText(std::int64_t bytes) {
  const std::uint64_t megabytes = megabytesOf(bytes);
  return megabytes != 0 ? std::to_string(megabytes) + " MB"
                        : std::to_string(bytes / kKilobyte) + " KB";
}

std::int64_t spaceLeft(std::int64_t capacity, std::int64_t used) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(capacity) -
                                   static_cast<std::uint64_t>(used));
}

std::string spaceLeftText(std::int64_t bytes) {
  const std::uint64_t megabytes = megabytesOf(bytes);
  return megabytes != 0 ? std::to_string(megabytes) + " MB"
                        : std::to_string(static_cast<std::uint64_t>(bytes / kKilobyte)) + " KB";
}

std::string fileSizeText(std::int64_t bytes) {
  if (bytes < kKilobyte) {
    return std::to_string(bytes) + " bytes";
  }
  if (bytes < kMegabyte || bytes >= 10 * kMegabyte) {
    return capacityText(bytes);
  }
  return std::to_string(bytes / kMegabyte) + "." +
         std::to_string(bytes % kMegabyte * 10 / kMegabyte) + " MB";
}

}  // namespace fillstation
