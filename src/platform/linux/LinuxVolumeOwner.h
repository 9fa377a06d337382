#pragma once

#include "KnownDisks.h"
#include "MountTable.h"
#include "VolumeOwner.h"

namespace fillstation {

// Knows mounted volumes by the kernel's mount table. Any thread; what it was made with outlives it.
class LinuxVolumeOwner : public VolumeOwner {
 public:
  LinuxVolumeOwner(const KnownDisks& known, const MountTable& mounts)
      : known_(known), mounts_(mounts) {}

  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override;

 private:
  const KnownDisks& known_;
  const MountTable& mounts_;
};

}  // namespace fillstation
