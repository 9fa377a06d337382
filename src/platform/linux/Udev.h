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

// Owners of libudev's objects. A context and all that was made with it belong to one thread at a
// time, so whoever may be asked on any thread makes a context per question.
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

// A file of the device's folder in sysfs without its trailing line feed; none when there is no such
// file.
inline std::optional<std::string> udevAttribute(udev_device* device, const char* name) {
  return udevText(::udev_device_get_sysattr_value(device, name));
}

// What udev's rules have found out; none when they haven't.
inline std::optional<std::string> udevProperty(udev_device* device, const char* name) {
  return udevText(::udev_device_get_property_value(device, name));
}

// The device's path in sysfs, and the last part of it ("1-2.4", "sdb"); empty for a null device.
inline std::string udevSysPath(udev_device* device) {
  return udevText(::udev_device_get_syspath(device)).value_or("");
}
inline std::string udevSysName(udev_device* device) {
  return udevText(::udev_device_get_sysname(device)).value_or("");
}

// A property or attribute as a number; none when it is absent or isn't one.
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

// What the enumeration yields, in the order of the paths in sysfs. Whatever goes meanwhile is left
// out.
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

// Bus number x 65536 + device number of a whole USB device, also of one that has just gone; none
// for anything else (a null device included).
inline std::optional<std::uint32_t> usbHandleOf(udev_device* device) {
  if (device == nullptr) {
    return std::nullopt;
  }
  // The properties are there for a device that has gone, too, the attributes aren't.
  const auto bus = udevNumber(udevProperty(device, "BUSNUM"));
  const auto number = udevNumber(udevProperty(device, "DEVNUM"));
  if (!bus || !number) {
    return std::nullopt;
  }
  return static_cast<std::uint32_t>(*bus << 16U | *number);
}

// The nearest whole USB device above; null without one. Stays the device's.
inline udev_device* usbDeviceAbove(udev_device* device) {
  return ::udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
}

}  // namespace fillstation
