#include "BenchVolumes.h"

#include <filesystem>
#include <utility>
#include <variant>

#include "BenchMedium.h"
#include "BenchVolume.h"
#include "Lies.h"

namespace fillstation {

namespace {

const Dissenter kGone{"The device has gone."};

}  // namespace

BenchVolumes::BenchVolumes(std::string benchFolder, BenchPlayers& players, BenchServices services)
    : folder_(std::move(benchFolder) + "/volumes"), players_(players), services_(services) {}

void BenchVolumes::clear() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::optional<Dissenter> BenchVolumes::mount(BenchPlayer& player) {
  player.pullAt(PullMoment::kBeforeMount);
  auto refused = mountNow(player);
  player.pullAt(PullMoment::kDuringMount);
  if (!player.isPresent()) {
    return kGone;
  }
  return refused;
}

std::optional<Dissenter> BenchVolumes::mountNow(BenchPlayer& player) {
  const std::scoped_lock guard(player.access());
  return mountLocked(player);
}

std::optional<Dissenter> BenchVolumes::mountLocked(BenchPlayer& player) {
  if (!player.isPresent()) {
    return kGone;
  }
  if (player.isEjected()) {
    return Dissenter{"There is no medium."};
  }
  if (player.volume()) {
    return std::nullopt;
  }
  std::optional<Dissenter> refused;
  if (player.faults().refuseMount) {
    refused = Dissenter{"The volume refuses to be mounted."};
  } else {
    auto mounted = BenchVolume::mount(player.image(), folder_);
    if (auto* volume = std::get_if<std::shared_ptr<BenchVolume>>(&mounted)) {
      player.setVolume(std::move(*volume));
    } else {
      refused = std::get<Dissenter>(mounted);
    }
  }
  player.setKnown(true);
  return refused;
}

std::optional<Dissenter> BenchVolumes::unmount(BenchPlayer& player) {
  const std::scoped_lock guard(player.access());
  player.pullAt(PullMoment::kBeforeUnmount);
  if (!player.isPresent()) {
    return kGone;
  }
  const auto volume = player.volume();
  if (!volume) {
    return std::nullopt;
  }
  if (player.faults().refuseUnmount || volume->isOpen()) {
    return Dissenter{"The volume is in use."};
  }
  // What a medium that has turned read-only lacks is lost.
  if (!player.isReadOnly() && !volume->flush()) {
    return Dissenter{"What was copied can't be written."};
  }
  if (player.addCopied(0) > 0 && !applyLie(player.image(), player.faults())) {
    return Dissenter{"What was copied can't be changed."};
  }
  player.setVolume(nullptr);
  volume->close();
  remountAt(player, RemountMoment::kAfterUnmount);
  return std::nullopt;
}

void BenchVolumes::remountAt(BenchPlayer& player, RemountMoment moment) {
  if (player.faults().remount == moment) {
    mountLocked(player);
  }
}

std::optional<Dissenter> BenchVolumes::eject(BenchPlayer& player) {
  auto refused = unmount(player);
  if (!refused) {
    player.setEjected();
  }
  return refused;
}

void BenchVolumes::arrived(const std::shared_ptr<BenchPlayer>& player) {
  if (player->identity().automount) {
    player->requests().add([this, player] { mountNow(*player); });
  }
}

void BenchVolumes::left(const std::shared_ptr<BenchPlayer>& player) {
  player->requests().add([player] {
    const std::scoped_lock guard(player->access());
    if (const auto volume = player->volume()) {
      volume->close();
    }
  });
}

std::optional<std::string> BenchVolumes::remount(const DiskIdentity& owner,
                                                 const std::string& mountPath) {
  const auto player = players_.find(owner);
  if (!player) {
    return std::nullopt;
  }
  player->pullAt(PullMoment::kDuringReadBack);
  if (unmount(*player)) {
    return mountPath;
  }
  const auto volume = mountNow(*player) ? nullptr : player->volume();
  return volume ? std::optional(volume->folder()) : std::nullopt;
}

std::shared_ptr<VolumeMedium> BenchVolumes::mediumOf(int rootDescriptor,
                                                     const std::string& /*mountPath*/,
                                                     const DiskIdentity& owner) {
  const auto player = players_.find(owner);
  const auto volume = player ? player->volume() : nullptr;
  if (!volume || !volume->isRoot(rootDescriptor)) {
    return nullptr;
  }
  return std::make_shared<BenchMedium>(player, volume, services_.clock);
}

}  // namespace fillstation
