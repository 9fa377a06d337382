#pragma once

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

#include "DiskSession.h"
#include "KnownDisks.h"
#include "MountTable.h"
#include "StopSource.h"
#include "VolumeOwner.h"

namespace fillstation {

// Knows mounted volumes by the kernel's mount table, and has UDisks2 mount them again. Any thread;
// what it was made with outlives it.
class LinuxVolumeOwner : public VolumeOwner {
 public:
  using SessionMaker = std::function<std::shared_ptr<DiskSession>()>;

  // How often and how long after each other a volume that is in use is asked for: a program that
  // looks at what has come, an index or a preview, is done by then.
  struct Patience {
    std::chrono::seconds pause{1};
    int attempts = 10;
  };

  LinuxVolumeOwner(const KnownDisks& known, const MountTable& mounts, SessionMaker session,
                   const StopSource& stop, const Patience& patience)
      : known_(known),
        mounts_(mounts),
        session_(std::move(session)),
        stop_(stop),
        patience_(patience) {}

  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override;
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override;

 private:
  using Request = void (DiskSession::*)(std::shared_ptr<Disk>, const DiskIdentity&,
                                        DiskSession::Completion);

  // Where the disk's volume is mounted.
  std::vector<std::string> mountPoints(const DiskIdentity& owner) const;
  // Makes the request and waits for its end; false when it failed or the stop was requested.
  bool carriedOut(Request request, DiskSession& session, const std::shared_ptr<Disk>& disk,
                  const DiskIdentity& owner) const;

  const KnownDisks& known_;
  const MountTable& mounts_;
  const SessionMaker session_;
  const StopSource& stop_;
  const Patience patience_;
};

}  // namespace fillstation
