#include "DiskFacts.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <system_error>
#include <utility>

#include "Udev.h"
#include "Url.h"

namespace fillstation {

namespace {

// The unit of "size" in sysfs, independent of the medium's own sectors.
constexpr std::uint64_t kSector = 512;

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
    // udev writes unsafe characters as \xHH.
    facts.label = decodeEscapes(*label, "\\x", 2, 16);
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

// What libudev looks for below or above a device is looked for by its folders here: libudev opens
// each device on the way, part by part of its path, while the window waits.

// The folders in a folder of sysfs.
std::vector<std::filesystem::path> foldersIn(const std::filesystem::path& path) {
  std::vector<std::filesystem::path> folders;
  std::error_code gone;
  const std::filesystem::directory_iterator end;
  for (std::filesystem::directory_iterator entry(path, gone); !gone && entry != end;
       entry.increment(gone)) {
    std::error_code unknown;
    if (!entry->is_symlink(unknown) && entry->is_directory(unknown)) {
      folders.push_back(entry->path());
    }
  }
  return folders;
}

// The device of that folder; null for none.
UdevDevice deviceAt(udev* context, const std::filesystem::path& path) {
  return UdevDevice(::udev_device_new_from_syspath(context, path.c_str()));
}

// The nearest whole USB device above a folder of sysfs, by its path; "/" for none.
std::filesystem::path usbPathAbove(std::filesystem::path path) {
  std::error_code gone;
  do {
    path = path.parent_path();
  } while (path.has_relative_path() && !std::filesystem::exists(path / "busnum", gone));
  return path;
}

std::optional<std::uint32_t> handleAbove(udev* context, udev_device* device) {
  return usbHandleOf(deviceAt(context, usbPathAbove(udevSysPath(device))).get());
}

std::vector<BlockFacts> blocksOf(udev* context, udev_device* disk) {
  std::map<std::uint64_t, BlockFacts> byNumber{{0, blockFacts(disk)}};
  for (const auto& folder : foldersIn(udevSysPath(disk))) {
    const auto device = deviceAt(context, folder);
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
std::optional<std::uint64_t> numberOf(udev_device* unit) {
  const std::string address = udevSysName(unit);
  return udevNumber(address.substr(address.rfind(':') + 1));
}

// Whether a disk will appear there. The kernel makes none for a unit whose inquiry says, in the
// upper bits of its first byte, that nothing is connected.
bool isDirectAccess(udev_device* unit) {
  const auto type = udevAttribute(unit, "type");
  const std::string inquiry = udevAttribute(unit, "inquiry").value_or("");
  const bool isConnected = static_cast<unsigned char>(inquiry[0]) >> 5U == 0;
  // A disk, or a simple one. A CD-ROM drive is 5.
  return isConnected && (type == "0" || type == "14");
}

// The folders of all units, which have their addresses as names.
std::vector<std::filesystem::path> unitsBelow(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> units;
  for (const auto& below : foldersIn(folder)) {
    if (std::ranges::count(below.filename().native(), ':') == 3) {
      units.push_back(below);
    } else {
      std::ranges::copy(unitsBelow(below), std::back_inserter(units));
    }
  }
  return units;
}

// The direct-access unit of the USB device with the lowest number; null while there is none.
UdevDevice lowestUnit(udev* context, const std::string& usbSysPath) {
  UdevDevice lowest;
  for (const auto& folder : unitsBelow(usbSysPath)) {
    auto unit = usbPathAbove(folder) == usbSysPath ? deviceAt(context, folder) : nullptr;
    if (isDirectAccess(unit.get()) && (!lowest || numberOf(unit.get()) < numberOf(lowest.get()))) {
      lowest = std::move(unit);
    }
  }
  return lowest;
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
  facts.usbHandle = handleAbove(context.get(), disk.get());
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
  const UdevDevice unit = lowestUnit(context.get(), usbSysPath);
  if (!unit) {
    return std::nullopt;
  }
  for (const auto& folder : foldersIn(udevSysPath(unit.get()) + "/block")) {
    const auto block = deviceAt(context.get(), folder);
    if (isWholeDisk(block.get()) && ::udev_device_get_is_initialized(block.get()) != 0) {
      return udevSysName(block.get());
    }
  }
  return std::nullopt;
}

std::optional<std::uint32_t> usbHandleAbove(const std::string& blockName) {
  const UdevContext context(::udev_new());
  const UdevDevice block = blockDevice(context.get(), blockName);
  return handleAbove(context.get(), block.get());
}

}  // namespace fillstation
