#include "LinuxVolumeOwner.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <future>

#include "LinuxDisk.h"
#include "PosixVolume.h"

namespace fillstation {

namespace {

// How often a wait looks for the end of the program.
constexpr std::chrono::milliseconds kLook{50};

}  // namespace

std::shared_ptr<VolumeMedium> LinuxVolumeOwner::mediumOf(int rootDescriptor,
                                                         const std::string& mountPath,
                                                         const DiskIdentity& owner) {
  const auto facts = LinuxDisk(diskNameOf(owner.node), known_, mounts_).checkFor(owner).disk;
  struct stat root {};
  if (!facts || ::fstat(rootDescriptor, &root) != 0) {
    return nullptr;
  }
  const auto points = mounts_.mountPoints(root.st_dev);
  const bool isDisks =
      std::any_of(facts->blocks.begin(), facts->blocks.end(),
                  [&root](const auto& block) { return block.number == root.st_dev; });
  const bool isMount = std::find(points.begin(), points.end(),
                                 PosixVolume::withoutEndingSlash(mountPath)) != points.end();
  return isDisks && isMount ? std::make_shared<VolumeMedium>() : nullptr;
}

std::optional<std::string> LinuxVolumeOwner::remount(const DiskIdentity& owner,
                                                     const std::string& mountPath) {
  const auto session = session_();
  const auto disk = session->diskFromName(owner.node);
  bool unmounted = false;
  for (int attempt = 0; attempt < patience_.attempts && !unmounted; ++attempt) {
    if (!readDisk(diskNameOf(owner.node)) || (attempt > 0 && !stop_.waitFor(patience_.pause))) {
      return std::nullopt;
    }
    unmounted = carriedOut(&DiskSession::unmount, *session, disk, owner);
  }
  // Of several mounts one may have been busy, and this one not.
  const auto points = mountPoints(owner);
  if (!unmounted && std::find(points.begin(), points.end(),
                              PosixVolume::withoutEndingSlash(mountPath)) != points.end()) {
    return mountPath;
  }
  if (!carriedOut(&DiskSession::mount, *session, disk, owner)) {
    return std::nullopt;
  }
  const auto now = mountPoints(owner);
  return now.empty() ? std::nullopt : std::optional(now.front());
}

std::vector<std::string> LinuxVolumeOwner::mountPoints(const DiskIdentity& owner) const {
  const auto facts = readDisk(diskNameOf(owner.node));
  const auto volume = facts ? volumeOn(*facts, known_) : std::nullopt;
  return volume ? mounts_.mountPoints(volume->number) : std::vector<std::string>();
}

bool LinuxVolumeOwner::carriedOut(Request request, DiskSession& session,
                                  const std::shared_ptr<Disk>& disk,
                                  const DiskIdentity& owner) const {
  const auto done = std::make_shared<std::promise<bool>>();
  auto succeeded = done->get_future();
  (session.*request)(disk, owner, [done](const auto& /*disk*/, const Dissenter* dissenter) {
    done->set_value(dissenter == nullptr);
  });
  while (succeeded.wait_for(kLook) != std::future_status::ready) {
    if (stop_.requested()) {
      return false;
    }
  }
  return succeeded.get();
}

}  // namespace fillstation
