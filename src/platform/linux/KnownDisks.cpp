#include "KnownDisks.h"

#include <algorithm>

namespace fillstation {

void KnownDisks::found(std::size_t attach, const DiskFacts& disk) {
  const std::scoped_lock guard(lock_);
  byAttach_[attach] = disk;
}

void KnownDisks::forget(std::size_t attach) {
  const std::scoped_lock guard(lock_);
  byAttach_.erase(attach);
}

std::optional<DiskFacts> KnownDisks::newMedium(std::size_t attach) const {
  const auto name = diskName(attach);
  auto now = name ? readDisk(*name) : std::nullopt;
  const std::scoped_lock guard(lock_);
  const auto known = byAttach_.find(attach);
  if (!now || known == byAttach_.end()) {
    return std::nullopt;
  }
  const DiskFacts& before = known->second;
  const bool isSameUnit = now->initialized && now->sequence && now->usbHandle == before.usbHandle &&
                          now->unit == before.unit && now->vendor == before.vendor;
  const bool isNew = now->sequence != before.sequence || now->size != before.size;
  return isSameUnit && isNew ? now : std::nullopt;
}

std::optional<std::string> KnownDisks::diskName(std::size_t attach) const {
  const std::scoped_lock guard(lock_);
  const auto known = byAttach_.find(attach);
  return known != byAttach_.end() ? std::optional(known->second.name()) : std::nullopt;
}

bool KnownDisks::remembers(const std::string& diskName) const {
  const std::scoped_lock guard(lock_);
  return std::any_of(byAttach_.begin(), byAttach_.end(),
                     [&diskName](const auto& known) { return known.second.name() == diskName; });
}

std::optional<std::uint64_t> KnownDisks::sequenceOf(const DiskIdentity& identity) const {
  const std::scoped_lock guard(lock_);
  // The latest attach counts: an earlier one of this handle is leaving.
  const auto known =
      std::find_if(byAttach_.rbegin(), byAttach_.rend(), [&identity](const auto& candidate) {
        return candidate.second.usbHandle == identity.usbHandle;
      });
  const bool isKnown = known != byAttach_.rend() && identity.node == nodeOf(known->second.name());
  return isKnown ? known->second.sequence : std::nullopt;
}

std::optional<std::uint64_t> KnownDisks::willWipe(const DiskIdentity& identity) {
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

void KnownDisks::spared(const DiskIdentity& identity) {
  if (const auto sequence = sequenceOf(identity)) {
    const std::scoped_lock guard(lock_);
    auto& wiped = wiped_[*sequence];
    wiped.now = wiped.before;
  }
}

bool KnownDisks::isWiped(std::uint64_t sequence, const FileSystemFacts& fileSystem) const {
  const std::scoped_lock guard(lock_);
  const auto wiped = wiped_.find(sequence);
  return wiped != wiped_.end() && wiped->second.now &&
         (fileSystem.type != "vfat" || fileSystem.identifier.empty() ||
          wiped->second.now->contains(fileSystem.identifier));
}

}  // namespace fillstation
