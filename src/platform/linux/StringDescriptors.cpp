#include "StringDescriptors.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "Utf8.h"

namespace fillstation {

namespace {

// The standard's values: from the device to the host, get a descriptor, a string descriptor.
constexpr std::uint8_t kDeviceToHost = 0x80;
constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint8_t kStringDescriptor = 3;

// A descriptor's length is one byte, so two bytes of header and 126 code units are the most.
constexpr std::size_t kLongest = 254;

void append(std::vector<std::uint8_t>& bytes, char32_t unit) {
  bytes.push_back(static_cast<std::uint8_t>(unit & 0xFFU));
  bytes.push_back(static_cast<std::uint8_t>(unit >> 8U & 0xFFU));
}

std::vector<std::uint8_t> descriptorOf(const std::string& text) {
  std::vector<std::uint8_t> bytes{0, kStringDescriptor};
  for (const char32_t point : decodeUtf8(text).value_or(U"")) {
    if (point > 0xFFFF) {
      append(bytes, 0xD800 + ((point - 0x10000) >> 10U));
      append(bytes, 0xDC00 + ((point - 0x10000) & 0x3FFU));
    } else {
      append(bytes, point);
    }
  }
  bytes.resize(std::min(bytes.size(), kLongest));
  bytes[0] = static_cast<std::uint8_t>(bytes.size());
  return bytes;
}

}  // namespace

StringDescriptors::StringDescriptors(std::string manufacturer, std::string product,
                                     std::string serialNumber, std::uint16_t release)
    : texts_{std::move(manufacturer), std::move(product), std::move(serialNumber)},
      release_(release) {}

std::uint8_t StringDescriptors::indexOf(std::uint8_t place) const {
  return texts_[place].empty() ? 0 : static_cast<std::uint8_t>(place + 1);
}

std::optional<std::uint32_t> StringDescriptors::deviceRequest(const UsbRequest& request,
                                                              std::span<std::uint8_t> buffer) {
  const std::size_t index = request.value & 0xFFU;
  if (request.requestType != kDeviceToHost || request.request != kGetDescriptor ||
      request.value >> 8U != kStringDescriptor || index < 1 || index > texts_.size() ||
      texts_[index - 1].empty()) {
    return std::nullopt;
  }
  const auto bytes = descriptorOf(texts_[index - 1]);
  const std::size_t count =
      std::min({bytes.size(), buffer.size(), static_cast<std::size_t>(request.length)});
  std::copy_n(bytes.begin(), count, buffer.begin());
  return static_cast<std::uint32_t>(count);
}

}  // namespace fillstation
