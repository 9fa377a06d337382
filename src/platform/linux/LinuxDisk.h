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

// The block device with a disk's volume: its first partition, or else the disk itself, with a file
// system that is not from before a wipe. None if there is none. Any thread.
std::optional<BlockFacts> volumeOn(const DiskFacts& disk, const KnownDisks& known);

// A whole disk, described from sysfs, udev's database and the mount table, none of which blocks.
// Any thread; its services outlive it.
class LinuxDisk : public Disk {
 public:
  // The disk that has that name ("sdb") now; already gone if there is none.
  LinuxDisk(std::string name, const KnownDisks& known);

  std::optional<DiskDescription> copyDescription() override;

  // Whether this disk is that player: the disk's facts, or the reason why it is not (any more).
  struct Check {
    std::optional<DiskFacts> disk;
    std::string objection;
  };
  Check checkFor(const DiskIdentity& player) const;

  // Makes the disk's unit eject its medium, without a drive object. False if another disk has taken
  // the name, if the user may not open the node (most may not), or if the unit refuses. May take
  // seconds.
  bool stopUnit() const;

  const std::string& name() const { return name_; }
  // The kernel's sequence number of this object's disk.
  std::optional<std::uint64_t> sequence() const { return sequence_; }

 private:
  const std::string name_;
  std::optional<std::uint64_t> sequence_;
  const KnownDisks& known_;
};

// Finds mounted volumes in the kernel's mount table, and has UDisks2 mount them again. Any thread;
// its services outlive it.
class LinuxVolumeOwner : public VolumeOwner {
 public:
  // How often, and with what pause, a busy volume is unmounted: a program that looks at new
  // volumes, such as an index or a preview, is done by then.
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
  // Makes the request and waits for its end; false if it failed or the stop was requested.
  bool carriedOut(DiskRequest what, const std::shared_ptr<Disk>& disk,
                  const DiskIdentity& owner) const;

  const KnownDisks& known_;
  DiskSession& session_;
  const StopSource& stop_;
  const Patience patience_;
};

}  // namespace fillstation
