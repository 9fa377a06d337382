#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "DiskFacts.h"
#include "DiskSession.h"

namespace fillstation {

// Remembers the disks below USB devices, each from the first search until the leaving of its device
// has been handled: a device that has gone can't be looked up any more. The bus fills it; disks,
// requests and the script runner compare with it. Any thread; lives as long as the program.
class KnownDisks {
 public:
  // Remembers that this disk, which has a sequence number, is below the USB device of the numbered
  // attach event: handles are used again.
  void found(std::size_t attach, const DiskFacts& disk) {
    const std::scoped_lock guard(lock_);
    byAttach_[attach] = disk;
  }
  void forget(std::size_t attach) {
    const std::scoped_lock guard(lock_);
    byAttach_.erase(attach);
  }

  // The present facts of the disk that was found at an attach event, if its medium or the medium's
  // size has changed; none if it is unchanged, or no longer the same unit of the same device and
  // vendor.
  std::optional<DiskFacts> newMedium(std::size_t attach) const {
    const auto before = disk(attach);
    auto now = before ? readDisk(before->name()) : std::nullopt;
    if (!now) {
      return std::nullopt;
    }
    const bool isSameUnit = now->initialized && now->sequence &&
                            now->usbHandle == before->usbHandle && now->unit == before->unit &&
                            now->vendor == before->vendor;
    const bool isNew = now->sequence != before->sequence || now->size != before->size;
    return isSameUnit && isNew ? now : std::nullopt;
  }

  // The disk that was found at an attach event; whether a disk is remembered by this name.
  std::optional<std::string> diskName(std::size_t attach) const {
    const auto known = disk(attach);
    return known ? std::optional(known->name()) : std::nullopt;
  }
  bool remembers(const std::string& diskName) const {
    const std::scoped_lock guard(lock_);
    return std::any_of(byAttach_.begin(), byAttach_.end(),
                       [&diskName](const auto& known) { return known.second.name() == diskName; });
  }

  // The kernel's sequence number of the disk and medium that were found for this node and USB
  // device; none if there are none.
  std::optional<std::uint64_t> sequenceOf(const DiskIdentity& identity) const {
    const std::scoped_lock guard(lock_);
    // The latest attach counts: an earlier one of this handle is leaving.
    const auto known =
        std::find_if(byAttach_.rbegin(), byAttach_.rend(), [&identity](const auto& candidate) {
          return candidate.second.usbHandle == identity.usbHandle;
        });
    const bool isKnown = known != byAttach_.rend() && identity.node == nodeOf(known->second.name());
    return isKnown ? known->second.sequence : std::nullopt;
  }

  // Call it right before a player is wiped: from now on its known file systems are old ones, even
  // if the system still reports them. Returns the sequence number, as above.
  std::optional<std::uint64_t> willWipe(const DiskIdentity& identity) {
    const auto sequence = sequenceOf(identity);
    if (!sequence) {
      return sequence;
    }
    const auto facts = readDisk(diskNameOf(identity.node));
    const std::scoped_lock guard(lock_);
    auto& wiped = wiped_[*sequence];
    wiped.before = wiped.now;
    auto& identifiers = wiped.now ? *wiped.now : wiped.now.emplace();
    for (const auto& block : facts ? facts->blocks : std::vector<BlockFacts>()) {
      if (block.fileSystem) {
        identifiers.insert(block.fileSystem->identifier);
      }
    }
    return sequence;
  }

  // The latest announced wipe of this player has not begun: its file systems are not old.
  void spared(const DiskIdentity& identity) {
    if (const auto sequence = sequenceOf(identity)) {
      const std::scoped_lock guard(lock_);
      auto& wiped = wiped_[*sequence];
      wiped.now = wiped.before;
    }
  }

  // Whether the file system is from before a wipe of this disk, can't be distinguished from such a
  // one, or is not what a format makes.
  bool isWiped(std::uint64_t sequence, const FileSystemFacts& fileSystem) const {
    const std::scoped_lock guard(lock_);
    const auto wiped = wiped_.find(sequence);
    return wiped != wiped_.end() && wiped->second.now &&
           (fileSystem.type != "vfat" || fileSystem.identifier.empty() ||
            wiped->second.now->contains(fileSystem.identifier));
  }

 private:
  std::optional<DiskFacts> disk(std::size_t attach) const {
    const std::scoped_lock guard(lock_);
    const auto known = byAttach_.find(attach);
    return known != byAttach_.end() ? std::optional(known->second) : std::nullopt;
  }

  mutable std::mutex lock_;
  std::map<std::size_t, DiskFacts> byAttach_;
  // The identifiers of the old file systems; none before the first wipe.
  struct Wiped {
    std::optional<std::set<std::string>> now;
    std::optional<std::set<std::string>> before;  // the latest announcement
  };

  // By the disk's sequence number, which is never used again.
  std::map<std::uint64_t, Wiped> wiped_;
};

}  // namespace fillstation
