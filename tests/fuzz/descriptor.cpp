// String descriptors: invented ones, and those made of the kernel's texts.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Input.h"
#include "QtUsbBus.h"
#include "UsbUtil.h"

using namespace fillstation;

namespace {

constexpr std::size_t kDescriptorSize = 128;

// Answers every request with the same bytes, and may lie about their number.
class LyingDevice : public UsbDeviceInterface {
 public:
  LyingDevice(std::uint8_t claimed, std::string bytes)
      : claimed_(claimed), bytes_(std::move(bytes)) {}

  std::uint8_t manufacturerStringIndex() const override { return 1; }
  std::uint8_t productStringIndex() const override { return 2; }
  std::uint8_t serialNumberStringIndex() const override { return 3; }
  std::uint16_t releaseNumber() const override { return claimed_; }
  std::optional<std::uint32_t> deviceRequest(const UsbRequest& /*request*/,
                                             std::span<std::uint8_t> buffer) override {
    std::copy_n(bytes_.begin(), std::min(bytes_.size(), buffer.size()), buffer.begin());
    return claimed_;
  }

 private:
  std::uint8_t claimed_;
  std::string bytes_;
};

void read(UsbDeviceInterface& device, std::uint8_t index) {
  const std::unique_ptr<char, decltype(&std::free)> text(getUSBStringDescriptor(&device, index),
                                                         &std::free);
  fuzz::require(!text || std::strlen(text.get()) < kDescriptorSize);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::uint8_t claimed = input.takeByte();
  const std::string text(input.rest());
  LyingDevice lying(claimed, text);
  read(lying, claimed);
  StringDescriptors honest({text, text, text}, claimed);
  for (std::uint8_t index = 0; index < 5; ++index) {
    read(honest, index);
  }
  return 0;
}
