#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "DiskFacts.h"
#include "DiskSession.h"
#include "KnownDisks.h"
#include "MountTable.h"

namespace fillstation {

// The block device that a disk's volume is on: its first partition, or else the disk itself, with a
// file system that is not left over from before a wipe. None while there is none. Any thread.
std::optional<BlockFacts> volumeOn(const DiskFacts& disk, const KnownDisks& known);

// A whole disk, described from sysfs, udev's database and the mount table, none of which waits for
// anybody. Any thread; what it was made with outlives it.
class LinuxDisk : public Disk {
 public:
  // The disk of that name ("sdb") as it is now; gone already when it isn't there.
  LinuxDisk(std::string name, const KnownDisks& known, const MountTable& mounts);

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
  const MountTable& mounts_;
};

}  // namespace fillstation
