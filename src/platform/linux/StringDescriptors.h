#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "UsbBus.h"

namespace fillstation {

// A device's string descriptors, made of texts: raw access to the device would need root, while
// the kernel has read the strings already. Immutable; any thread.
class StringDescriptors : public UsbDeviceInterface {
 public:
  // UTF-8 texts, empty for none, and the release field as it is.
  StringDescriptors(std::string manufacturer, std::string product, std::string serialNumber,
                    std::uint16_t release);

  std::uint8_t manufacturerStringIndex() const override { return indexOf(0); }
  std::uint8_t productStringIndex() const override { return indexOf(1); }
  std::uint8_t serialNumberStringIndex() const override { return indexOf(2); }
  std::uint16_t releaseNumber() const override { return release_; }
  // Answers the standard request for a string descriptor of the device and no other.
  std::optional<std::uint32_t> deviceRequest(const UsbRequest& request,
                                             std::span<std::uint8_t> buffer) override;

 private:
  std::uint8_t indexOf(std::uint8_t place) const;

  std::array<std::string, 3> texts_;
  std::uint16_t release_;
};

}  // namespace fillstation
