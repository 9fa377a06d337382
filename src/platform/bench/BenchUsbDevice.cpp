#include "BenchUsbDevice.h"

#include <algorithm>
#include <array>
#include <vector>

#include "FatText.h"

namespace fillstation {

namespace {

// The standard request for a string descriptor.
constexpr std::uint8_t kDeviceToHost = 0x80;
constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint16_t kStringDescriptor = 0x0300;
// A descriptor's length is one byte: the header and 126 code units.
constexpr std::size_t kLongestString = 126;

// What the device's descriptors say; the texts are copied.
class BenchUsbInterface : public UsbDeviceInterface {
 public:
  explicit BenchUsbInterface(const BenchIdentity& identity)
      : strings_{u"", *utf16Of(identity.manufacturer), *utf16Of(identity.product.value_or("")),
                 *utf16Of(identity.serial)},
        release_(identity.release) {}

  std::uint8_t manufacturerStringIndex() const override { return indexOf(1); }
  std::uint8_t productStringIndex() const override { return indexOf(2); }
  std::uint8_t serialNumberStringIndex() const override { return indexOf(3); }
  std::uint16_t releaseNumber() const override { return release_; }

  std::optional<std::uint32_t> deviceRequest(const UsbRequest& request,
                                             std::span<std::uint8_t> buffer) override {
    const std::size_t index = request.value & 0xFF;
    if (request.requestType != kDeviceToHost || request.request != kGetDescriptor ||
        (request.value & 0xFF00) != kStringDescriptor || index >= strings_.size() ||
        strings_[index].empty()) {
      return std::nullopt;
    }
    const std::vector<std::uint8_t> bytes = descriptor(strings_[index]);
    const std::size_t count = std::min({std::size_t{request.length}, buffer.size(), bytes.size()});
    std::copy_n(bytes.begin(), count, buffer.begin());
    return static_cast<std::uint32_t>(count);
  }

 private:
  // An empty text has no descriptor.
  std::uint8_t indexOf(std::uint8_t index) const { return strings_[index].empty() ? 0 : index; }

  static std::vector<std::uint8_t> descriptor(const std::u16string& text) {
    std::vector<std::uint8_t> bytes{0, 3};
    for (const char16_t unit : text.substr(0, kLongestString)) {
      bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
      bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
    }
    bytes[0] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
  }

  const std::array<std::u16string, 4> strings_;  // 0 is the index of an absent one
  const std::uint16_t release_;
};

}  // namespace

bool BenchUsbDevice::conformsTo(std::string_view className) const {
  return className == kUsbDeviceClass;
}

std::string BenchUsbDevice::className() const { return kUsbDeviceClass; }

std::string BenchUsbDevice::registryName() const {
  const std::string product = player_->identity().product.value_or("");
  return product.empty() ? kUsbDeviceClass : product;
}

std::optional<std::string> BenchUsbDevice::searchDiskName() const {
  if (!player_->searchDisk()) {
    return std::nullopt;
  }
  return player_->place().diskName;
}

std::shared_ptr<UsbDeviceInterface> BenchUsbDevice::openInterface() const {
  return player_->isPresent() ? std::make_shared<BenchUsbInterface>(player_->identity()) : nullptr;
}

}  // namespace fillstation
