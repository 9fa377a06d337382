#include "UDisksSession.h"

#include <optional>
#include <string>
#include <utility>

#include "EjectRequest.h"
#include "LinuxDisk.h"
#include "MountRequest.h"
#include "UnmountRequest.h"

namespace fillstation {

namespace {

constexpr std::string_view kDeviceFolder = "/dev/";

}  // namespace

std::shared_ptr<Disk> UDisksSession::diskFromName(std::string_view name) {
  if (name.starts_with(kDeviceFolder)) {
    name.remove_prefix(kDeviceFolder.size());
  }
  const std::string diskName(name);
  if (!readDisk(diskName) && !services_.known.remembers(diskName)) {
    return nullptr;
  }
  return std::make_shared<LinuxDisk>(diskName, services_.known, services_.mounts);
}

void UDisksSession::mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                          Completion completion) {
  request<MountRequest>(disk, expected, std::move(completion));
}

void UDisksSession::unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                            Completion completion) {
  request<UnmountRequest>(disk, expected, std::move(completion));
}

void UDisksSession::eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                          Completion completion) {
  request<EjectRequest>(disk, expected, std::move(completion));
}

template <class Request>
void UDisksSession::request(const std::shared_ptr<Disk>& disk, const DiskIdentity& expected,
                            Completion completion) {
  const auto complete =
      [disk, completion = std::move(completion)](const std::optional<Dissenter>& dissenter) {
        if (completion) {
          completion(disk, dissenter ? &*dissenter : nullptr);
        }
      };
  const auto ours = std::dynamic_pointer_cast<LinuxDisk>(disk);
  services_.mainThread.post([&services = services_, &order = order_, ours, expected, complete] {
    if (!ours) {
      complete(Dissenter{"There is no such disk."});
      return;
    }
    order.add(ours->sequence(), [&services, ours, expected,
                                 complete](const DiskOrder::Ended& ended) {
      const auto done = [&services, complete, ended](const std::optional<Dissenter>& dissenter) {
        services.mainThread.post([complete, ended, dissenter] {
          complete(dissenter);
          ended();
        });
      };
      std::make_shared<Request>(services, ours, expected, done)->run();
    });
  });
}

}  // namespace fillstation
