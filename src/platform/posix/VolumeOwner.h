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

// The back end's part in filling an opened volume: it knows what the file system would refuse, and
// when everything is on the medium. This default is for a volume that the kernel has mounted: the
// kernel refuses invalid files itself, and syncfs reports a medium that has gone. Relative paths
// are below the volume's root, without a "/" at either end. Used by one thread at a time, as the
// volume is; lives as long as the volume.
class VolumeMedium {
 public:
  virtual ~VolumeMedium() = default;

  // Called before a file of that size (bytes), or a directory (without a size), is created: 0, or
  // the errno with which it fails.
  virtual int admit(const std::string& /*relativePath*/, std::optional<std::int64_t> /*size*/) {
    return 0;
  }

  // Called before each chunk of a file's content is written, with its number of bytes (at least 1);
  // may take time. 0, or the errno with which the write fails.
  virtual int admitBytes(std::int64_t /*count*/) { return 0; }

  // Called for every finished directory and file, in the order of their creation.
  virtual void created(const std::string& /*relativePath*/) {}

  // True if closing a written file takes long, so that it is better done in the background: with
  // the mount option `flush`. Called once, when the volume is opened.
  virtual bool closesSlowly(int rootDescriptor);

  // Returns when everything below the root is on the medium; false if that is not certain.
  virtual bool flush(int rootDescriptor) {
    return KernelCalls::real().syncVolume(rootDescriptor) == 0;
  }
};

// The directories where the root of the device's file system is mounted, in the order of mounting,
// read from the kernel's table at each call; mounts of a part of it don't count. None if the file
// system itself was not mounted with the option, unless that is empty. Any thread.
std::vector<std::string> mountPoints(dev_t device, const std::string& option = "",
                                     const std::string& tablePath = "/proc/self/mountinfo");

// Knows which disk a mounted volume belongs to. Any thread; outlives the file manager.
class VolumeOwner {
 public:
  virtual ~VolumeOwner() = default;

  // The medium of the volume with this open root directory; null if that is not a mount of the disk
  // `owner` (any more). The descriptor stays the caller's.
  virtual std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                                 const DiskIdentity& owner) = 0;

  // Unmounts the disk's volume and mounts it again, so that nothing of it stays in the kernel's
  // memory; mediumOf() no longer holds it open. Returns its mount point, the old one if another
  // program keeps it busy; none if it didn't come back. Not on the main thread.
  virtual std::optional<std::string> remount(const DiskIdentity& owner,
                                             const std::string& mountPath) = 0;
};

}  // namespace fillstation
