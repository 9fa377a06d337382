#include "UdevUsbDevice.h"

#include <QString>
#include <algorithm>
#include <vector>

#include "DiskFacts.h"
#include "Utf8.h"

namespace fillstation {

namespace {

constexpr const char* kHubClass = "IOUSBHubDevice";
// The class field of a hub's device descriptor, in sysfs.
constexpr const char* kUsbHub = "09";

// The standard's values: from the device to the host, get a descriptor, a string descriptor.
constexpr std::uint8_t kDeviceToHost = 0x80;
constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint8_t kStringDescriptor = 3;
// A descriptor's length is one byte, so two bytes of header and 126 code units are the most.
constexpr std::size_t kLongest = 254;

std::vector<std::uint8_t> descriptorOf(const std::string& text) {
  std::vector<std::uint8_t> bytes{0, kStringDescriptor};
  for (const QChar unit : QString::fromStdU32String(decodeUtf8(text).value_or(U""))) {
    bytes.push_back(unit.cell());
    bytes.push_back(unit.row());
  }
  bytes.resize(std::min(bytes.size(), kLongest));
  bytes[0] = static_cast<std::uint8_t>(bytes.size());
  return bytes;
}

std::string stringOf(udev_device* device, const char* attribute) {
  return udevAttribute(device, attribute).value_or("");
}

}  // namespace

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

UdevUsbDevice::UdevUsbDevice(std::size_t attach, std::uint32_t handle, udev_device* device,
                             KnownDisks& disks)
    : attach_(attach),
      handle_(handle),
      sysPath_(udevSysPath(device)),
      portName_(udevSysName(device)),
      product_(stringOf(device, "product")),
      deviceClass_(udevAttribute(device, "bDeviceClass")),
      disks_(disks) {}

bool UdevUsbDevice::conformsTo(std::string_view className) const {
  return className == kUsbDeviceClass;
}

std::string UdevUsbDevice::className() const {
  return deviceClass_ == kUsbHub ? kHubClass : kUsbDeviceClass;
}

std::string UdevUsbDevice::registryName() const {
  return product_.empty() ? kUsbDeviceClass : product_;
}

std::optional<std::string> UdevUsbDevice::searchDiskName() const {
  if (!present_) {
    return disks_.diskName(attach_);
  }
  auto name = findDiskBelow(sysPath_);
  const auto facts = name ? readDisk(*name) : std::nullopt;
  if (!facts || !facts->sequence || facts->usbHandle != handle_) {
    return std::nullopt;
  }
  disks_.found(attach_, *facts);
  return name;
}

std::shared_ptr<UsbDeviceInterface> UdevUsbDevice::openInterface() const {
  const UdevContext context(::udev_new());
  const UdevDevice device(::udev_device_new_from_syspath(context.get(), sysPath_.c_str()));
  // Another device may be on the port by now.
  if (usbHandleOf(device.get()) != handle_) {
    return nullptr;
  }
  const auto release = udevNumber(udevAttribute(device.get(), "bcdDevice"), 16).value_or(0);
  return std::make_shared<StringDescriptors>(
      StringDescriptors::Texts{stringOf(device.get(), "manufacturer"),
                               stringOf(device.get(), "product"), stringOf(device.get(), "serial")},
      static_cast<std::uint16_t>(release));
}

}  // namespace fillstation
