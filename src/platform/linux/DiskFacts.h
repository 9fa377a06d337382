#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fillstation {

// What udev knows about a mountable block device.
struct FileSystemFacts {
  std::string type;
  std::string identifier;            // distinguishes it from an earlier one; may be empty
  std::optional<std::string> label;  // decoded; none when there is none
};

// A disk or a partition.
struct BlockFacts {
  std::string name;  // "sdb", "sdb1"
  dev_t number = 0;
  std::optional<FileSystemFacts> fileSystem;
};

// What the kernel and udev know about a whole disk at one moment. A plain value.
struct DiskFacts {
  bool initialized = false;                // udev has looked at it
  std::vector<BlockFacts> blocks;          // the disk itself, then its partitions by number
  std::optional<std::uint64_t> sequence;   // different for every disk and medium of the name
  std::optional<std::uint32_t> usbHandle;  // of the nearest USB device above; none without one
  std::string unit;                        // its address; empty for none
  std::optional<std::string> vendor;       // without padding
  std::int64_t size = 0;                   // bytes

  const std::string& name() const { return blocks.front().name; }  // "sdb"
};

// Reads them; none if there is no whole disk of that name ("sdb"). Any thread.
std::optional<DiskFacts> readDisk(std::string_view name);

// The disk of the lowest direct-access unit below a USB device, which is given by its sysfs path
// and is the nearest one above the unit; none if that unit has no disk yet, or udev has not looked
// at it. Any thread.
std::optional<std::string> findDiskBelow(const std::string& usbSysPath);

// The nearest USB device above a block device of any kind, as above. Any thread.
std::optional<std::uint32_t> usbHandleAbove(const std::string& blockName);

}  // namespace fillstation
