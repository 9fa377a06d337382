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

// What is remembered of the disks that were found below USB devices, each from its first search
// until the leaving of its device has been handled: nothing of a device can be looked up once it is
// gone. The bus fills it; disks, requests and the script runner compare with it. Any thread; lives
// as long as the program.
class KnownDisks {
 public:
  // This disk, which has a sequence number, is the one below the USB device of the attach event,
  // which has a number of its own: handles are used again.
  void found(std::size_t attach, const DiskFacts& disk) {
    const std::scoped_lock guard(lock_);
    byAttach_[attach] = disk;
  }
  void forget(std::size_t attach) {
    const std::scoped_lock guard(lock_);
    byAttach_.erase(attach);
  }

  // The disk that was found at an attach event as it is now, when its medium is another one or has
  // another size; none when it is as it was found, or no longer the same unit of the same device
  // and vendor.
  std::optional<DiskFacts> newMedium(std::size_t attach) const {
    const auto name = diskName(attach);
    auto now = name ? readDisk(*name) : std::nullopt;
    const std::scoped_lock guard(lock_);
    const auto known = byAttach_.find(attach);
    if (!now || known == byAttach_.end()) {
      return std::nullopt;
    }
    const DiskFacts& before = known->second;
    const bool isSameUnit = now->initialized && now->sequence &&
                            now->usbHandle == before.usbHandle && now->unit == before.unit &&
                            now->vendor == before.vendor;
    const bool isNew = now->sequence != before.sequence || now->size != before.size;
    return isSameUnit && isNew ? now : std::nullopt;
  }

  // The disk that was found at an attach event; whether some disk is remembered by this name.
  std::optional<std::string> diskName(std::size_t attach) const {
    const std::scoped_lock guard(lock_);
    const auto known = byAttach_.find(attach);
    return known != byAttach_.end() ? std::optional(known->second.name()) : std::nullopt;
  }
  bool remembers(const std::string& diskName) const {
    const std::scoped_lock guard(lock_);
    return std::any_of(byAttach_.begin(), byAttach_.end(),
                       [&diskName](const auto& known) { return known.second.name() == diskName; });
  }

  // The kernel's sequence number of the very disk and medium that were found for this node and USB
  // device; none when there were none.
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

  // To be called right before a player is wiped: from now on the file systems that the system knows
  // on it are the old ones, whoever still reports them. Its sequence number, as above.
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

  // The latest wipe that was announced for this player has not begun: what was on it still is.
  void spared(const DiskIdentity& identity) {
    if (const auto sequence = sequenceOf(identity)) {
      const std::scoped_lock guard(lock_);
      auto& wiped = wiped_[*sequence];
      wiped.now = wiped.before;
    }
  }

  // Whether the file system was there before a wipe of this very disk, can't be told from one that
  // was, or isn't what a format makes.
  bool isWiped(std::uint64_t sequence, const FileSystemFacts& fileSystem) const {
    const std::scoped_lock guard(lock_);
    const auto wiped = wiped_.find(sequence);
    return wiped != wiped_.end() && wiped->second.now &&
           (fileSystem.type != "vfat" || fileSystem.identifier.empty() ||
            wiped->second.now->contains(fileSystem.identifier));
  }

 private:
  mutable std::mutex lock_;
  std::map<std::size_t, DiskFacts> byAttach_;
  // The identifiers of the file systems that are old ones; none before the first wipe.
  struct Wiped {
    std::optional<std::set<std::string>> now;
    std::optional<std::set<std::string>> before;  // the latest announcement
  };

  // By the disk's sequence number, which is never used again.
  std::map<std::uint64_t, Wiped> wiped_;
};

}  // namespace fillstation
