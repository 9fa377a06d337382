#include "LinuxVolumeOwner.h"

#include <sys/stat.h>

#include <algorithm>

#include "PosixVolume.h"
#include "RealMedium.h"

namespace fillstation {

std::shared_ptr<VolumeMedium> LinuxVolumeOwner::mediumOf(int rootDescriptor,
                                                         const std::string& mountPath,
                                                         const DiskIdentity& owner) {
  const std::string name = owner.node.substr(owner.node.rfind('/') + 1);
  const auto facts = readDisk(name);
  struct stat root {};
  if (guardAgainst(owner, name, known_.sequenceOf(owner), facts, known_) ||
      ::fstat(rootDescriptor, &root) != 0) {
    return nullptr;
  }
  const auto blocks = facts->blocks();
  const auto points = mounts_.mountPoints(root.st_dev);
  const bool isDisks = std::any_of(blocks.begin(), blocks.end(), [&root](const auto& block) {
    return block.number == root.st_dev;
  });
  const bool isMount = std::find(points.begin(), points.end(),
                                 PosixVolume::withoutEndingSlash(mountPath)) != points.end();
  return isDisks && isMount ? std::make_shared<RealMedium>() : nullptr;
}

}  // namespace fillstation
