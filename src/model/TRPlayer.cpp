#include "TRPlayer.h"

#include "Platform.h"
#include "UsbUtil.h"

namespace fillstation {
namespace {

// A new disk object for each request: the name may belong to another disk by now.
void request(TRPlayer& player, DiskRequest what, decltype(&mountCallback) callback) {
  const auto diskName = player.diskName();
  const auto disk = diskName ? session->diskFromName(*diskName) : nullptr;
  session->request(
      what, disk, player.identity(),
      [self = player.shared_from_this(), callback](const auto& asked, const Dissenter* dissenter) {
        callback(asked, dissenter, self);
      });
}

}  // namespace

TRPlayer::TRPlayer() : name_("Empty"), path_("Empty"), selected_(Number(0)) {}

bool TRPlayer::isEqual(const TRPlayer& other) const {
  const auto own = diskName();
  return own && own == other.diskName();
}

std::size_t TRPlayer::hash() const { return std::hash<std::optional<std::string>>{}(diskName()); }

bool TRPlayer::refresVolumeInfo() {
  const auto disk = diskName();
  std::optional<std::string> volumeName;
  std::optional<std::string> volumePath;
  getDiskVolumeFromDriveName(disk ? disk->c_str() : nullptr, volumeName, volumePath);
  setName(volumeName);
  setPath(volumePath);
  return volumeName && volumePath;
}

void TRPlayer::mount() { request(*this, DiskRequest::mount, mountCallback); }

void TRPlayer::unmount() { request(*this, DiskRequest::unmount, unmountCallback); }

void TRPlayer::eject() { request(*this, DiskRequest::unmount, unmountEjectCallback); }

void TRPlayer::OnDeviceMounted() {
  setIsMounted(true);
  logText("\nDevice %@ mounted\n", diskName());
}

void TRPlayer::OnDeviceUnMounted() {
  setIsMounted(false);
  logText("\nDevice %@ unmounted\n", diskName());
}

DiskIdentity TRPlayer::identity() const {
  return {diskName().value_or(""), static_cast<std::uint32_t>(IONumber())};
}

void mountCallback(const std::shared_ptr<Disk>& /*disk*/, const Dissenter* /*dissenter*/,
                   const std::shared_ptr<TRPlayer>& context) {
  context->OnDeviceMounted();
}

void unmountCallback(const std::shared_ptr<Disk>& /*disk*/, const Dissenter* /*dissenter*/,
                     const std::shared_ptr<TRPlayer>& context) {
  context->OnDeviceUnMounted();
}

void unmountEjectCallback(const std::shared_ptr<Disk>& disk, const Dissenter* /*dissenter*/,
                          const std::shared_ptr<TRPlayer>& context) {
  session->request(DiskRequest::eject, disk, context->identity(),
                   [context](const auto& /*asked*/, const Dissenter* dissenter) {
                     context->setIsReleased(dissenter == nullptr);
                   });
  logText("\nDevice Ejected\n");
}

}  // namespace fillstation
