#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DiskSession.h"
#include "KernelCalls.h"

namespace fillstation {

// What a back end has to say while one opened volume is filled: what its file system would refuse,
// and when everything is on the medium. As it is here, the volume is one that the kernel has
// mounted: the kernel itself refuses what can't be, and syncfs is what reports a medium that has
// gone. Relative paths are below the volume's root, without a "/" at either end. Used by one thread
// at a time, as the volume is; lives as long as the volume.
class VolumeMedium {
 public:
  virtual ~VolumeMedium() = default;

  // Asked before a file of that size (bytes) is created, or a directory, which has none: 0, or the
  // errno it fails with.
  virtual int admit(const std::string& /*relativePath*/, std::optional<std::int64_t> /*size*/) {
    return 0;
  }

  // Asked before each chunk of a file's content is written, with its number of bytes (at least 1);
  // may take its time. 0, or the errno that the write fails with.
  virtual int admitBytes(std::int64_t /*count*/) { return 0; }

  // Told of every finished directory and file, in the order of their creation.
  virtual void created(const std::string& /*relativePath*/) {}

  // True when closing a written file takes long, so that it is better done behind the copy's back:
  // with the mount option `flush`. Asked once, when the volume is opened.
  virtual bool closesSlowly(int rootDescriptor);

  // Returns when everything below the root is on the medium; false when that can't be promised.
  virtual bool flush(int rootDescriptor) {
    return KernelCalls::real().syncVolume(rootDescriptor) == 0;
  }
};

// The directories where the root of the device's file system is mounted, in the order of mounting,
// read anew from the kernel's table; a part of it that is mounted by itself doesn't count. None
// when the file system itself was not mounted with the option, unless that is empty. Any thread.
std::vector<std::string> mountPoints(dev_t device, const std::string& option = "",
                                     const std::string& tablePath = "/proc/self/mountinfo");

// Knows which disk a mounted volume belongs to. Any thread; outlives the file manager.
class VolumeOwner {
 public:
  virtual ~VolumeOwner() = default;

  // The medium of the volume whose root directory the descriptor is open on; null when that is not
  // a mount of the very disk `owner` (any more). The descriptor stays the caller's.
  virtual std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                                 const DiskIdentity& owner) = 0;

  // Unmounts the disk's volume and mounts it again, so that nothing of it is left in the kernel's
  // memory; nobody has it open through mediumOf(). The path where it is mounted now, the old one
  // when somebody else keeps it busy; none when it didn't come back. Not on the main thread.
  virtual std::optional<std::string> remount(const DiskIdentity& owner,
                                             const std::string& mountPath) = 0;
};

}  // namespace fillstation
