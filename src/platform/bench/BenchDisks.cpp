#include "BenchDisks.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <utility>

#include "BenchFolder.h"
#include "BenchVolume.h"

namespace fillstation {

namespace {

constexpr std::uint32_t kBus = 0x10000;  // bus number 1, in a handle
// 1 is the bus itself; after 127 the numbers begin again.
constexpr std::uint32_t kFirstDeviceNumber = 2;
constexpr std::uint32_t kLastDeviceNumber = 127;

const Dissenter kGone{"The device has gone."};

// A bench player's volume that is open: the volume's rules, the player's speed and its faults. The
// clock outlives it.
class BenchMedium : public VolumeMedium {
 public:
  BenchMedium(std::shared_ptr<BenchPlayer> player, std::shared_ptr<BenchVolume> volume,
              Clock& clock)
      : player_(std::move(player)), volume_(std::move(volume)), clock_(clock) {
    volume_->opened();
  }
  ~BenchMedium() override { volume_->released(); }

  int admit(const std::string& relativePath, std::optional<std::int64_t> size) override {
    const int refused = refusal();
    return refused != 0 ? refused : volume_->admit(relativePath, size);
  }

  int admitBytes(std::int64_t count) override {
    const BenchFaults& faults = player_->faults();
    if (faults.bytesPerSecond > 0) {
      const std::chrono::duration<double> pause(static_cast<double>(count) /
                                                static_cast<double>(faults.bytesPerSecond));
      clock_.sleep(std::chrono::duration_cast<std::chrono::microseconds>(pause));
    }
    if (player_->isReadOnly()) {
      return EROFS;
    }
    const std::int64_t copied = player_->addCopied(count);
    if (faults.pull == PullMoment::kAfterBytes && copied > faults.pullAfterBytes) {
      player_->pull();
    }
    if (!player_->isPresent()) {
      return ENODEV;
    }
    return faults.failAfterBytes >= 0 && copied > faults.failAfterBytes ? EIO : 0;
  }

  void created(const std::string& relativePath) override {
    if (refusal() == 0) {
      volume_->created(relativePath);
    }
  }

  bool flush(int /*rootDescriptor*/) override {
    if (player_->faults().pull == PullMoment::kDuringFlush) {
      volume_->flush(true);
      player_->pull();
    }
    return refusal() == 0 && volume_->flush() && player_->isPresent();
  }

 private:
  // Why the medium accepts no more data: 0 or an errno.
  int refusal() const {
    if (!player_->isPresent()) {
      return ENODEV;
    }
    return player_->isReadOnly() ? EROFS : 0;
  }

  std::shared_ptr<BenchPlayer> player_;
  std::shared_ptr<BenchVolume> volume_;
  Clock& clock_;
};

}  // namespace

BenchDisks::BenchDisks(std::string benchFolder, BenchServices services)
    : folder_(std::move(benchFolder)),
      volumes_(folder_ + "/volumes"),
      services_(services),
      order_(services.mainThread) {}

std::variant<std::shared_ptr<BenchPlayer>, std::string> BenchDisks::attach(
    const std::string& name) {
  auto identity = readIdentity(identityFile(folder_, name));
  if (const auto* error = std::get_if<std::string>(&identity)) {
    return *error;
  }
  const std::string path = pluggedImage(folder_, name);
  FileHandle image(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (!image) {
    return path + ": can't be opened";
  }
  const std::scoped_lock guard(lock_);
  BenchIdentity& self = std::get<BenchIdentity>(identity);
  BenchPlayer::Place place = freePlace(self);
  players_.push_back(
      std::make_shared<BenchPlayer>(path, std::move(image), std::move(self), std::move(place)));
  return players_.back();
}

BenchPlayer::Place BenchDisks::freePlace(const BenchIdentity& identity) {
  const auto isTaken = [this](auto member, const auto& value) {
    return std::any_of(players_.begin(), players_.end(),
                       [&](const auto& player) { return player->place().*member == value; });
  };
  BenchPlayer::Place place;
  do {
    lastDeviceNumber_ =
        lastDeviceNumber_ == kLastDeviceNumber ? kFirstDeviceNumber : lastDeviceNumber_ + 1;
    place.handle = kBus + lastDeviceNumber_;
  } while (isTaken(&BenchPlayer::Place::handle, place.handle));
  int number = 0;
  while (identity.disk &&
         (place.diskName.empty() || isTaken(&BenchPlayer::Place::diskName, place.diskName))) {
    place.diskName = "vp" + std::to_string(number++);
  }
  return place;
}

void BenchDisks::forget(const std::shared_ptr<BenchPlayer>& player) {
  const std::scoped_lock guard(lock_);
  std::erase(players_, player);
}

std::shared_ptr<BenchPlayer> BenchDisks::first(
    const std::function<bool(const BenchPlayer&)>& test) const {
  const std::scoped_lock guard(lock_);
  const auto found = std::find_if(players_.begin(), players_.end(),
                                  [&test](const auto& player) { return test(*player); });
  return found != players_.end() ? *found : nullptr;
}

std::shared_ptr<BenchPlayer> BenchDisks::find(const DiskIdentity& expected) const {
  return first([&expected](const auto& player) { return player.is(expected); });
}

void BenchDisks::clear() {
  std::error_code ignored;
  std::filesystem::remove_all(volumes_, ignored);
}

void BenchDisks::arrived(const std::shared_ptr<BenchPlayer>& player) {
  add(player, [this](BenchPlayer& known) { return mountNow(known); });
}

void BenchDisks::left(const std::shared_ptr<BenchPlayer>& player) {
  add(player, [](BenchPlayer& known) -> Refusal {
    const std::scoped_lock guard(known.access());
    if (const auto volume = known.volume()) {
      volume->close();
    }
    return std::nullopt;
  });
}

std::shared_ptr<Disk> BenchDisks::diskFromName(std::string_view name) {
  return first([diskName = diskNameOf(name)](const BenchPlayer& player) {
    return player.identity().disk && player.place().diskName == diskName;
  });
}

void BenchDisks::request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                         Completion completion) {
  const auto complete = [disk, completion](const Refusal& refused) {
    if (completion) {
      completion(disk, refused ? &*refused : nullptr);
    }
  };
  const auto player = std::dynamic_pointer_cast<BenchPlayer>(disk);
  if (!player) {
    services_.mainThread.post([complete] { complete(Dissenter{"There is no such disk."}); });
    return;
  }
  const auto work = what == DiskRequest::mount     ? &BenchDisks::mountAsAsked
                    : what == DiskRequest::unmount ? &BenchDisks::unmountNow
                                                   : &BenchDisks::ejectNow;
  const auto checked = [this, work, expected](BenchPlayer& known) {
    return known.is(expected) ? (this->*work)(known)
                              : Dissenter{"The disk is not the expected one."};
  };
  add(player, checked, complete);
}

void BenchDisks::add(const std::shared_ptr<BenchPlayer>& player, Work work,
                     std::function<void(const Refusal&)> told) {
  const auto begin = [this, player, work = std::move(work),
                      told = std::move(told)](const DiskOrder::Ended& ended) {
    services_.workers.spawn([this, player, work, told, ended] {
      services_.mainThread.post([told, ended, refused = work(*player)] {
        if (told) {
          told(refused);
        }
        ended();
      });
    });
  };
  services_.mainThread.post([this, player, begin] { order_.add(player->place().handle, begin); });
}

BenchDisks::Refusal BenchDisks::mountAsAsked(BenchPlayer& player) {
  player.pullAt(PullMoment::kBeforeMount);
  auto refused = mountNow(player);
  player.pullAt(PullMoment::kDuringMount);
  return player.isPresent() ? refused : kGone;
}

BenchDisks::Refusal BenchDisks::mountNow(BenchPlayer& player) {
  const std::scoped_lock guard(player.access());
  if (!player.isPresent()) {
    return kGone;
  }
  if (player.isEjected()) {
    return Dissenter{"There is no medium."};
  }
  if (player.volume()) {
    return std::nullopt;
  }
  Refusal refused;
  if (player.faults().refuseMount) {
    refused = Dissenter{"The volume refuses to be mounted."};
  } else {
    auto mounted = BenchVolume::mount(player.image(), volumes_);
    if (auto* volume = std::get_if<std::shared_ptr<BenchVolume>>(&mounted)) {
      player.setVolume(std::move(*volume));
    } else {
      refused = std::get<Dissenter>(mounted);
    }
  }
  player.setKnown(true);
  return refused;
}

BenchDisks::Refusal BenchDisks::unmountNow(BenchPlayer& player) {
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
  // Data that never reached a medium that turned read-only is lost.
  if (!player.isReadOnly() && !volume->flush()) {
    return Dissenter{"What was copied can't be written."};
  }
  if (!player.applyLie()) {
    return Dissenter{"What was copied can't be changed."};
  }
  player.setVolume(nullptr);
  volume->close();
  remountAt(player, RemountMoment::kAfterUnmount);
  return std::nullopt;
}

BenchDisks::Refusal BenchDisks::ejectNow(BenchPlayer& player) {
  auto refused = unmountNow(player);
  if (!refused) {
    player.setEjected();
  }
  return refused;
}

void BenchDisks::remountAt(BenchPlayer& player, RemountMoment moment) {
  if (player.faults().remount == moment) {
    mountNow(player);
  }
}

std::optional<std::string> BenchDisks::remount(const DiskIdentity& owner,
                                               const std::string& mountPath) {
  const auto player = find(owner);
  if (!player) {
    return std::nullopt;
  }
  player->pullAt(PullMoment::kDuringReadBack);
  if (unmountNow(*player)) {
    return mountPath;
  }
  const auto volume = mountNow(*player) ? nullptr : player->volume();
  return volume ? std::optional(volume->folder()) : std::nullopt;
}

std::shared_ptr<VolumeMedium> BenchDisks::mediumOf(int rootDescriptor,
                                                   const std::string& /*mountPath*/,
                                                   const DiskIdentity& owner) {
  const auto player = find(owner);
  const auto volume = player ? player->volume() : nullptr;
  if (!volume || !isOpenOn(rootDescriptor, volume->folder())) {
    return nullptr;
  }
  return std::make_shared<BenchMedium>(player, volume, services_.clock);
}

}  // namespace fillstation
