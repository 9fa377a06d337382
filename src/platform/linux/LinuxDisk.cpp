#include "LinuxDisk.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <array>
#include <utility>

#include "FileHandle.h"
#include "Url.h"
#include "Utf8.h"

namespace fillstation {

namespace {

// What a FAT boot sector says in place of a label.
constexpr const char* kNoLabel = "NO NAME";

constexpr std::string_view kPlayerVendor = "ACTIONS";

// START STOP UNIT with "load or eject" set and "start" clear.
constexpr unsigned char kStartStopUnit = 0x1B;
constexpr unsigned char kEjectMedium = 0x02;
constexpr unsigned int kTimeOut = 30'000;  // milliseconds

std::optional<std::string> nameOf(const FileSystemFacts& fileSystem) {
  if (!fileSystem.label && fileSystem.type == "vfat") {
    return kNoLabel;
  }
  // The bytes of another code page: a text that is not UTF-8 would be no name at all.
  return fileSystem.label ? std::optional(withoutBadUtf8(*fileSystem.label)) : std::nullopt;
}

}  // namespace

std::optional<BlockFacts> volumeOn(const DiskFacts& disk, const KnownDisks& known) {
  auto blocks = disk.blocks;
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

LinuxDisk::Check LinuxDisk::checkFor(const DiskIdentity& player) const {
  auto facts = readDisk(name_);
  const auto known = known_.sequenceOf(player);
  if (player.node != nodeOf(name_)) {
    return {std::nullopt, "The disk is not the one that was asked for."};
  }
  if (!facts) {
    return {std::nullopt, "The disk has gone."};
  }
  if (facts->usbHandle != player.usbHandle) {
    return {std::nullopt, "The disk belongs to another USB device."};
  }
  if (!known || facts->sequence != known || sequence_ != known) {
    return {std::nullopt, "Another disk has taken the name."};
  }
  if (facts->vendor != kPlayerVendor) {
    return {std::nullopt, "The disk is not a player's."};
  }
  return {std::move(facts), {}};
}

bool LinuxDisk::stopUnit() const {
  const FileHandle unit(::open(nodeOf(name_).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  std::uint64_t present = 0;
  if (!unit || ::ioctl(unit.get(), BLKGETDISKSEQ, &present) != 0 || present != sequence_) {
    return false;
  }
  std::array<unsigned char, 6> command{kStartStopUnit, 0, 0, 0, kEjectMedium, 0};
  sg_io_hdr request{};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_NONE;
  request.cmd_len = command.size();
  request.cmdp = command.data();
  request.timeout = kTimeOut;
  return ::ioctl(unit.get(), SG_IO, &request) == 0 && request.status == 0 &&
         request.host_status == 0;
}

}  // namespace fillstation
