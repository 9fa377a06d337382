#include "Udev.h"

#include <charconv>

namespace fillstation {

namespace {

std::optional<std::string> textFrom(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

std::optional<std::string> udevAttribute(udev_device* device, const char* name) {
  return textFrom(::udev_device_get_sysattr_value(device, name));
}

std::optional<std::string> udevProperty(udev_device* device, const char* name) {
  return textFrom(::udev_device_get_property_value(device, name));
}

std::string udevSysPath(udev_device* device) {
  return textFrom(::udev_device_get_syspath(device)).value_or("");
}

std::string udevSysName(udev_device* device) {
  return textFrom(::udev_device_get_sysname(device)).value_or("");
}

std::optional<std::uint64_t> udevNumber(const std::optional<std::string>& text, int base) {
  std::uint64_t number = 0;
  if (!text) {
    return std::nullopt;
  }
  const char* const end = text->data() + text->size();
  const auto read = std::from_chars(text->data(), end, number, base);
  return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

std::string udevDecoded(const std::string& text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = text.compare(at, 2, "\\x") == 0 && at + 3 < text.size()
                          ? udevNumber(text.substr(at + 2, 2), 16)
                          : std::nullopt;
    if (byte) {
      plain += static_cast<char>(*byte);
      at += 3;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

std::vector<UdevDevice> udevDevices(udev* context, udev_enumerate* enumeration) {
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

std::optional<std::uint32_t> usbHandleOf(udev_device* device) {
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

udev_device* usbDeviceAbove(udev_device* device) {
  return ::udev_device_get_parent_with_subsystem_devtype(device, "usb", "usb_device");
}

}  // namespace fillstation
