#include "LinuxDisk.h"

#include <algorithm>
#include <utility>

#include "Url.h"
#include "Utf8.h"

namespace fillstation {

namespace {

// What a FAT boot sector says in place of a label.
constexpr const char* kNoLabel = "NO NAME";

std::optional<std::string> nameOf(const FileSystemFacts& fileSystem) {
  if (!fileSystem.label && fileSystem.type == "vfat") {
    return kNoLabel;
  }
  // The bytes of another code page: a text that is not UTF-8 would be no name at all.
  return fileSystem.label ? std::optional(withoutBadUtf8(*fileSystem.label)) : std::nullopt;
}

}  // namespace

std::optional<BlockFacts> volumeOn(const DiskFacts& disk, const KnownDisks& known) {
  auto blocks = disk.blocks();
  // mkfs.fat gives a fixed disk a table of one partition that starts where the disk does: the file
  // system is on both then, and UDisks2 mounts no disk that has partitions.
  std::rotate(blocks.begin(), blocks.begin() + 1, blocks.end());
  const auto volume = std::find_if(blocks.begin(), blocks.end(), [&](const BlockFacts& block) {
    return block.fileSystem && !(disk.sequence && known.isWiped(*disk.sequence, *block.fileSystem));
  });
  return volume != blocks.end() ? std::optional(*volume) : std::nullopt;
}

LinuxDisk::LinuxDisk(std::string name, const KnownDisks& known, const MountTable& mounts)
    : name_(std::move(name)), known_(known), mounts_(mounts) {
  if (const auto facts = readDisk(name_)) {
    sequence_ = facts->sequence;
  }
}

std::optional<DiskDescription> LinuxDisk::copyDescription() {
  DiskDescription description;
  const auto facts = readDisk(name_);
  if (!facts || facts->sequence != sequence_) {
    return description;
  }
  if (!facts->initialized) {
    return std::nullopt;
  }
  description.deviceVendor = facts->vendor;
  description.mediaSize = facts->size;
  if (const auto volume = volumeOn(*facts, known_)) {
    description.volumeName = nameOf(*volume->fileSystem);
    const auto paths = mounts_.mountPoints(volume->number);
    if (!paths.empty()) {
      description.volumePath = Url::fromPath(paths.front(), true).absoluteString();
    }
  }
  return description;
}

}  // namespace fillstation
