#pragma once

#include <memory>
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
};

}  // namespace fillstation
