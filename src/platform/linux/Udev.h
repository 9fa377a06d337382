#pragma once

#include <libudev.h>

#include <charconv>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace fillstation {

// Owners of libudev's objects. A context, and all objects made with it, belong to one thread at a
// time. So functions for any thread make a context for each call.
struct UdevRelease {
  void operator()(udev* context) const { ::udev_unref(context); }
  void operator()(udev_device* device) const { ::udev_device_unref(device); }
  void operator()(udev_enumerate* enumeration) const { ::udev_enumerate_unref(enumeration); }
  void operator()(udev_monitor* monitor) const { ::udev_monitor_unref(monitor); }
};
using UdevContext = std::unique_ptr<udev, UdevRelease>;
using UdevDevice = std::unique_ptr<udev_device, UdevRelease>;
using UdevEnumeration = std::unique_ptr<udev_enumerate, UdevRelease>;
using UdevMonitor = std::unique_ptr<udev_monitor, UdevRelease>;

// A text of libudev's; none when that is null.
inline std::optional<std::string> udevText(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

// An attribute file of the device in sysfs, without its trailing line feed; none if it doesn't
// exist.
inline std::optional<std::string> udevAttribute(udev_device* device, const char* name) {
  return udevText(::udev_device_get_sysattr_value(device, name));
}

// A property that udev's rules have set; none if they haven't.
inline std::optional<std::string> udevProperty(udev_device* device, const char* name) {
  return udevText(::udev_device_get_property_value(device, name));
}

// The device's path in sysfs, and its last part ("1-2.4", "sdb"); empty for a null device.
inline std::string udevSysPath(udev_device* device) {
  return udevText(::udev_device_get_syspath(device)).value_or("");
}
inline std::string udevSysName(udev_device* device) {
  return udevText(::udev_device_get_sysname(device)).value_or("");
}

// A property or attribute as a number; none if it is absent or no number.
inline std::optional<std::uint64_t> udevNumber(const std::optional<std::string>& text,
                                               int base = 10) {
  std::uint64_t number = 0;
  if (!text) {
    return std::nullopt;
  }
  const char* const end = text->data() + text->size();
  const auto read = std::from_chars(text->data(), end, number, base);
  return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

// The results of the enumeration, in the order of their sysfs paths. Devices that leave meanwhile
// are left out.
inline std::vector<UdevDevice> udevDevices(udev* context, udev_enumerate* enumeration) {
  std::vector<UdevDevice> devices;
  ::udev_enumerate_scan_devices(enumeration);
  for (auto* entry = ::udev_enumerate_get_list_entry(enumeration); entry != nullptr;
       entry = ::udev_list_entry_get_next(entry)) {
    UdevDevice device(::udev_device_new_from_syspath(context, ::udev_list_entry_get_name(entry)));
    if (device) {
      devices.push_back(std::move(device));
    }
  }
  return devices;
}

// Bus number x 65536 + device number of a whole USB device, even if it has just gone; none for
// other devices and null.
inline std::optional<std::uint32_t> usbHandleOf(udev_device* device) {
  // A device that has gone still has its properties, but no attributes.
  const auto bus = udevNumber(udevProperty(device, "BUSNUM"));
  const auto number = udevNumber(udevProperty(device, "DEVNUM"));
  if (!bus || !number) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(*bus << 16U | *number);
}

// The nearest whole USB device above; null for none. Belongs to the device.
inline udev_device* usbDeviceAbove(udev_device* device) {
  return ::udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
}

}  // namespace fillstation
