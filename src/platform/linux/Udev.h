#pragma once

#include <libudev.h>
#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
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

// A file of the device's folder in sysfs without its trailing line feed; none when there is no such
// file.
std::optional<std::string> udevAttribute(udev_device* device, const char* name);

// What udev's rules have found out; none when they haven't.
std::optional<std::string> udevProperty(udev_device* device, const char* name);

// The device's path in sysfs, and the last part of it ("1-2.4", "sdb"); empty for a null device.
std::string udevSysPath(udev_device* device);
std::string udevSysName(udev_device* device);

// A property or attribute as a number; none when it is absent or isn't one.
std::optional<std::uint64_t> udevNumber(const std::optional<std::string>& text, int base = 10);

// A property whose name ends in _ENC as it was: udev writes whatever might hurt as \xHH. An escape
// that is not complete stays as it is.
std::string udevDecoded(const std::string& text);

// What the enumeration yields, in the order of the paths in sysfs. Whatever goes meanwhile is left
// out.
std::vector<UdevDevice> udevDevices(udev* context, udev_enumerate* enumeration);

// Bus number x 65536 + device number of a whole USB device, also of one that has just gone; none
// for anything else (a null device included).
std::optional<std::uint32_t> usbHandleOf(udev_device* device);

// The nearest whole USB device above; null without one. Stays the device's.
udev_device* usbDeviceAbove(udev_device* device);

}  // namespace fillstation
