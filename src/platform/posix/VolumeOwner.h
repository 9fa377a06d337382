#pragma once

#include <memory>
#include <optional>
#include <string>

#include "DiskSession.h"
#include "VolumeMedium.h"

namespace fillstation {

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
