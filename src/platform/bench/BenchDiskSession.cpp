#include "BenchDiskSession.h"

#include <string>
#include <utility>

#include "BenchDisk.h"

namespace fillstation {

namespace {

constexpr std::string_view kDeviceFolder = "/dev/";

}  // namespace

std::shared_ptr<Disk> BenchDiskSession::diskFromName(std::string_view name) {
  if (name.starts_with(kDeviceFolder)) {
    name.remove_prefix(kDeviceFolder.size());
  }
  auto player = players_.byDiskName(name);
  return player ? std::make_shared<BenchDisk>(std::move(player)) : nullptr;
}

void BenchDiskSession::mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                             Completion completion) {
  request(&BenchVolumes::mount, disk, expected, std::move(completion));
}

void BenchDiskSession::unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                               Completion completion) {
  request(&BenchVolumes::unmount, disk, expected, std::move(completion));
}

void BenchDiskSession::eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                             Completion completion) {
  request(&BenchVolumes::eject, disk, expected, std::move(completion));
}

void BenchDiskSession::request(Work work, const std::shared_ptr<Disk>& disk,
                               const DiskIdentity& expected, Completion completion) {
  const auto complete = [&mainThread = services_.mainThread, disk,
                         completion = std::move(completion)](std::optional<Dissenter> refused) {
    mainThread.post([disk, completion, refused = std::move(refused)] {
      if (completion) {
        completion(disk, refused ? &*refused : nullptr);
      }
    });
  };
  const auto ours = std::dynamic_pointer_cast<BenchDisk>(disk);
  if (!ours) {
    complete(Dissenter{"There is no such disk."});
    return;
  }
  ours->player()->requests().add(
      [&volumes = volumes_, work, player = ours->player(), expected, complete] {
        complete(player->is(expected) ? (volumes.*work)(*player)
                                      : Dissenter{"The disk is not the expected one."});
      });
}

}  // namespace fillstation
