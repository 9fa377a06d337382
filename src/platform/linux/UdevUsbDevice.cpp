#include "UdevUsbDevice.h"

#include "DiskFacts.h"
#include "QtUsbBus.h"

namespace fillstation {

namespace {

constexpr const char* kHubClass = "IOUSBHubDevice";
// The class field of a hub's device descriptor, in sysfs.
constexpr const char* kUsbHub = "09";

std::string stringOf(udev_device* device, const char* attribute) {
  return udevAttribute(device, attribute).value_or("");
}

}  // namespace

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
  // The kernel has read the strings already; raw access to the device would need root.
  const auto release = udevNumber(udevAttribute(device.get(), "bcdDevice"), 16).value_or(0);
  return std::make_shared<StringDescriptors>(
      StringDescriptors::Texts{stringOf(device.get(), "manufacturer"),
                               stringOf(device.get(), "product"), stringOf(device.get(), "serial")},
      static_cast<std::uint16_t>(release));
}

}  // namespace fillstation
