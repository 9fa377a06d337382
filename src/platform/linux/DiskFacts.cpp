#include "DiskFacts.h"

#include <sys/sysmacros.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <sstream>
#include <utility>

#include "Udev.h"

namespace fillstation {

namespace {

// The unit of "size" in sysfs, whatever the medium's own sectors are.
constexpr std::uint64_t kSector = 512;
// What a SCSI unit says that it is: a disk, or a simple one. A CD-ROM drive is 5.
constexpr std::array<std::string_view, 2> kDirectAccess{"0", "14"};

bool isWholeDisk(udev_device* device) { return udevProperty(device, "DEVTYPE") == "disk"; }

UdevDevice blockDevice(udev* context, const std::string& name) {
  return UdevDevice(::udev_device_new_from_subsystem_sysname(context, "block", name.c_str()));
}

std::optional<FileSystemFacts> fileSystemOn(udev_device* device) {
  if (udevProperty(device, "ID_FS_USAGE") != "filesystem") {
    return std::nullopt;
  }
  FileSystemFacts facts;
  facts.type = udevProperty(device, "ID_FS_TYPE").value_or("");
  facts.identifier = udevProperty(device, "ID_FS_UUID").value_or("");
  if (const auto label = udevProperty(device, "ID_FS_LABEL_ENC")) {
    facts.label = udevDecoded(*label);
  }
  return facts;
}

BlockFacts blockFacts(udev_device* device) {
  return {udevSysName(device), ::udev_device_get_devnum(device), fileSystemOn(device)};
}

std::optional<std::string> vendorOf(udev_device* unit) {
  auto vendor = udevAttribute(unit, "vendor");
  if (vendor) {
    vendor->erase(vendor->find_last_not_of(' ') + 1);
  }
  return vendor;
}

std::vector<UdevDevice> devicesBelow(udev* context, udev_device* above, const char* subsystem) {
  const UdevEnumeration enumeration(::udev_enumerate_new(context));
  ::udev_enumerate_add_match_subsystem(enumeration.get(), subsystem);
  ::udev_enumerate_add_match_parent(enumeration.get(), above);
  return udevDevices(context, enumeration.get());
}

std::vector<BlockFacts> blocksOf(udev* context, udev_device* disk) {
  std::map<std::uint64_t, BlockFacts> byNumber{{0, blockFacts(disk)}};
  for (const auto& device : devicesBelow(context, disk, "block")) {
    if (const auto number = udevNumber(udevAttribute(device.get(), "partition"))) {
      byNumber[*number] = blockFacts(device.get());
    }
  }
  std::vector<BlockFacts> blocks;
  for (auto& [number, facts] : byNumber) {
    blocks.push_back(std::move(facts));
  }
  return blocks;
}

// The last number of the unit's address "host:channel:target:unit".
std::uint64_t numberOf(udev_device* unit) {
  const std::string address = udevSysName(unit);
  return udevNumber(address.substr(address.rfind(':') + 1)).value_or(0);
}

// Whether a disk is to be expected there. The kernel makes none for a unit that says, in the upper
// bits of its inquiry's first byte, that nothing is connected to it.
bool isDirectAccess(udev_device* unit) {
  const auto type = udevAttribute(unit, "type");
  const std::string inquiry = udevAttribute(unit, "inquiry").value_or("");
  const bool isConnected = inquiry.empty() || static_cast<unsigned char>(inquiry[0]) >> 5U == 0;
  return type && isConnected &&
         std::find(kDirectAccess.begin(), kDirectAccess.end(), *type) != kDirectAccess.end();
}

// The direct-access unit of the USB device with the lowest number; null while there is none.
UdevDevice lowestUnit(udev* context, udev_device* usb) {
  UdevDevice lowest;
  for (auto& unit : devicesBelow(context, usb, "scsi")) {
    if (isDirectAccess(unit.get()) && udevSysPath(usbDeviceAbove(unit.get())) == udevSysPath(usb) &&
        (!lowest || numberOf(unit.get()) < numberOf(lowest.get()))) {
      lowest = std::move(unit);
    }
  }
  return lowest;
}

bool isOctal(char digit) { return digit >= '0' && digit <= '7'; }

// The kernel writes blank, tab, line feed and backslash as a backslash and three octal digits.
std::string unescaped(const std::string& text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\\' && at + 3 < text.size() && isOctal(text[at + 1])) {
      plain += static_cast<char>(std::stoi(text.substr(at + 1, 3), nullptr, 8));
      at += 3;
    } else {
      plain += text[at];
    }
  }
  return plain;
}

}  // namespace

std::optional<DiskFacts> readDisk(std::string_view name) {
  const UdevContext context(::udev_new());
  const UdevDevice disk = blockDevice(context.get(), std::string(name));
  if (!disk || !isWholeDisk(disk.get())) {
    return std::nullopt;
  }
  DiskFacts facts;
  facts.initialized = ::udev_device_get_is_initialized(disk.get()) != 0;
  facts.blocks = blocksOf(context.get(), disk.get());
  facts.sequence = udevNumber(udevAttribute(disk.get(), "diskseq"));
  facts.usbHandle = usbHandleOf(usbDeviceAbove(disk.get()));
  // The disk's parent is its unit.
  udev_device* const unit = ::udev_device_get_parent(disk.get());
  facts.unit = udevSysName(unit);
  facts.vendor = vendorOf(unit);
  facts.size = static_cast<std::int64_t>(udevNumber(udevAttribute(disk.get(), "size")).value_or(0) *
                                         kSector);
  return facts;
}

std::optional<std::string> findDiskBelow(const std::string& usbSysPath) {
  const UdevContext context(::udev_new());
  const UdevDevice usb(::udev_device_new_from_syspath(context.get(), usbSysPath.c_str()));
  const UdevDevice unit = usb ? lowestUnit(context.get(), usb.get()) : nullptr;
  if (!unit) {
    return std::nullopt;
  }
  const auto blocks = devicesBelow(context.get(), unit.get(), "block");
  const auto disk = std::find_if(blocks.begin(), blocks.end(), [](const UdevDevice& block) {
    return isWholeDisk(block.get()) && ::udev_device_get_is_initialized(block.get()) != 0;
  });
  return disk != blocks.end() ? std::optional(udevSysName(disk->get())) : std::nullopt;
}

std::optional<std::uint32_t> usbHandleAbove(const std::string& blockName) {
  const UdevContext context(::udev_new());
  const UdevDevice block = blockDevice(context.get(), blockName);
  return block ? usbHandleOf(usbDeviceAbove(block.get())) : std::nullopt;
}

std::vector<std::string> mountPoints(dev_t device, const std::string& tablePath) {
  const std::string wanted =
      std::to_string(::major(device)) + ":" + std::to_string(::minor(device));
  std::vector<std::string> found;
  std::ifstream table(tablePath);
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string number;
    std::string root;
    std::string mountPoint;
    fields >> number >> number >> number >> root >> mountPoint;
    if (number == wanted && root == "/") {
      found.push_back(unescaped(mountPoint));
    }
  }
  return found;
}

}  // namespace fillstation
