#pragma once

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
  void found(std::size_t attach, const DiskFacts& disk);
  void forget(std::size_t attach);

  // The disk that was found at an attach event as it is now, when its medium is another one or has
  // another size; none when it is as it was found, or no longer the same unit of the same device
  // and vendor.
  std::optional<DiskFacts> newMedium(std::size_t attach) const;

  // The disk that was found at an attach event; whether some disk is remembered by this name.
  std::optional<std::string> diskName(std::size_t attach) const;
  bool remembers(const std::string& diskName) const;

  // The kernel's sequence number of the very disk and medium that were found for this node and USB
  // device; none when there were none.
  std::optional<std::uint64_t> sequenceOf(const DiskIdentity& identity) const;

  // To be called right before a player is wiped: from now on the file systems that the system knows
  // on it are the old ones, whoever still reports them. Its sequence number, as above.
  std::optional<std::uint64_t> willWipe(const DiskIdentity& identity);

  // The latest wipe that was announced for this player has not begun: what was on it still is.
  void spared(const DiskIdentity& identity);

  // Whether the file system was there before a wipe of this very disk, can't be told from one that
  // was, or isn't what a format makes.
  bool isWiped(std::uint64_t sequence, const FileSystemFacts& fileSystem) const;

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
