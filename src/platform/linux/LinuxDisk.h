#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DiskFacts.h"
#include "DiskSession.h"
#include "KnownDisks.h"
#include "StopSource.h"
#include "VolumeOwner.h"

namespace fillstation {

// The block device that a disk's volume is on: its first partition, or else the disk itself, with a
// file system that is not left over from before a wipe. None while there is none. Any thread.
std::optional<BlockFacts> volumeOn(const DiskFacts& disk, const KnownDisks& known);

// A whole disk, described from sysfs, udev's database and the mount table, none of which waits for
// anybody. Any thread; what it was made with outlives it.
class LinuxDisk : public Disk {
 public:
  // The disk of that name ("sdb") as it is now; gone already when it isn't there.
  LinuxDisk(std::string name, const KnownDisks& known);

  std::optional<DiskDescription> copyDescription() override;

  // Whether this disk is that player: what it is now, or why it is not (any more).
  struct Check {
    std::optional<DiskFacts> disk;
    std::string objection;
  };
  Check checkFor(const DiskIdentity& player) const;

  // Has the disk's unit eject its medium, past every drive object. False when another disk has
  // taken the name, when the user may not open the node (as most may not) or when the unit refuses.
  // May take seconds.
  bool stopUnit() const;

  const std::string& name() const { return name_; }
  // The kernel's sequence number of the disk that this object stands for.
  std::optional<std::uint64_t> sequence() const { return sequence_; }

 private:
  const std::string name_;
  std::optional<std::uint64_t> sequence_;
  const KnownDisks& known_;
};

// Knows mounted volumes by the kernel's mount table, and has UDisks2 mount them again. Any thread;
// what it was made with outlives it.
class LinuxVolumeOwner : public VolumeOwner {
 public:
  // How often and how long after each other a volume that is in use is asked for: a program that
  // looks at what has come, an index or a preview, is done by then.
  struct Patience {
    std::chrono::seconds pause{1};
    int attempts = 10;
  };

  LinuxVolumeOwner(const KnownDisks& known, DiskSession& session, const StopSource& stop,
                   const Patience& patience)
      : known_(known), session_(session), stop_(stop), patience_(patience) {}

  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override;
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override;

 private:
  // Where the disk's volume is mounted.
  std::vector<std::string> placesOf(const DiskIdentity& owner) const;
  // Makes the request and waits for its end; false when it failed or the stop was requested.
  bool carriedOut(DiskRequest what, const std::shared_ptr<Disk>& disk,
                  const DiskIdentity& owner) const;

  const KnownDisks& known_;
  DiskSession& session_;
  const StopSource& stop_;
  const Patience patience_;
};

}  // namespace fillstation
