#include "LinuxDisk.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <scsi/sg.h>
#include <sys/ioctl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <future>

#include "FileHandle.h"
#include "PosixVolume.h"
#include "Url.h"
#include "Utf8.h"

namespace fillstation {

namespace {

// The label in a FAT boot sector without a label.
constexpr const char* kNoLabel = "NO NAME";

constexpr std::string_view kPlayerVendor = "ACTIONS";

// START STOP UNIT with "load or eject" set and "start" clear.
constexpr unsigned char kStartStopUnit = 0x1B;
constexpr unsigned char kEjectMedium = 0x02;
constexpr unsigned int kTimeOut = 30'000;  // milliseconds

// How often the wait for a request checks for the end of the program.
constexpr std::chrono::milliseconds kLook{50};

std::optional<std::string> nameOf(const FileSystemFacts& fileSystem) {
  if (!fileSystem.label && fileSystem.type == "vfat") {
    return kNoLabel;
  }
  // Bytes of an unknown code page: a text that is not UTF-8 would count as no name.
  return fileSystem.label ? std::optional(withoutBadUtf8(*fileSystem.label)) : std::nullopt;
}

}  // namespace

std::optional<BlockFacts> volumeOn(const DiskFacts& disk, const KnownDisks& known) {
  auto blocks = disk.blocks;
  // mkfs.fat gives a fixed disk a table with one partition that starts at the disk's start. Then
  // both contain the file system, and UDisks2 mounts no disk that has partitions.
  std::rotate(blocks.begin(), blocks.begin() + 1, blocks.end());
  const auto volume = std::find_if(blocks.begin(), blocks.end(), [&](const BlockFacts& block) {
    return block.fileSystem && !(disk.sequence && known.isWiped(*disk.sequence, *block.fileSystem));
  });
  return volume != blocks.end() ? std::optional(*volume) : std::nullopt;
}

LinuxDisk::LinuxDisk(std::string name, const KnownDisks& known)
    : name_(std::move(name)), known_(known) {
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
    const auto paths = mountPoints(volume->number);
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

std::shared_ptr<VolumeMedium> LinuxVolumeOwner::mediumOf(int rootDescriptor,
                                                         const std::string& mountPath,
                                                         const DiskIdentity& owner) {
  const auto facts = LinuxDisk(diskNameOf(owner.node), known_).checkFor(owner).disk;
  struct stat root {};
  if (!facts || ::fstat(rootDescriptor, &root) != 0) {
    return nullptr;
  }
  const auto points = mountPoints(root.st_dev);
  const bool isDisks = std::ranges::count(facts->blocks, root.st_dev, &BlockFacts::number) > 0;
  const bool isMount = std::ranges::count(points, PosixVolume::withoutEndingSlash(mountPath)) > 0;
  return isDisks && isMount ? std::make_shared<VolumeMedium>() : nullptr;
}

std::optional<std::string> LinuxVolumeOwner::remount(const DiskIdentity& owner,
                                                     const std::string& mountPath) {
  const auto disk = session_.diskFromName(owner.node);
  bool unmounted = false;
  for (int attempt = 0; attempt < patience_.attempts && !unmounted; ++attempt) {
    if (!readDisk(diskNameOf(owner.node)) || (attempt > 0 && !stop_.waitFor(patience_.pause))) {
      return std::nullopt;
    }
    unmounted = carriedOut(DiskRequest::unmount, disk, owner);
  }
  // One of several mounts may have been busy, and this one not.
  const auto points = placesOf(owner);
  if (!unmounted && std::ranges::count(points, PosixVolume::withoutEndingSlash(mountPath)) > 0) {
    return mountPath;
  }
  if (!carriedOut(DiskRequest::mount, disk, owner)) {
    return std::nullopt;
  }
  const auto now = placesOf(owner);
  return now.empty() ? std::nullopt : std::optional(now.front());
}

std::vector<std::string> LinuxVolumeOwner::placesOf(const DiskIdentity& owner) const {
  const auto facts = readDisk(diskNameOf(owner.node));
  const auto volume = facts ? volumeOn(*facts, known_) : std::nullopt;
  return volume ? mountPoints(volume->number) : std::vector<std::string>();
}

bool LinuxVolumeOwner::carriedOut(DiskRequest what, const std::shared_ptr<Disk>& disk,
                                  const DiskIdentity& owner) const {
  const auto done = std::make_shared<std::promise<bool>>();
  auto succeeded = done->get_future();
  session_.request(what, disk, owner, [done](const auto& /*disk*/, const Dissenter* dissenter) {
    done->set_value(dissenter == nullptr);
  });
  while (succeeded.wait_for(kLook) != std::future_status::ready) {
    if (stop_.requested()) {
      return false;
    }
  }
  return succeeded.get();
}

}  // namespace fillstation
