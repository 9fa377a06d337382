#include "BenchPlayers.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "BenchFolder.h"

namespace fillstation {

namespace {

constexpr std::uint32_t kBus = 0x10000;  // bus number 1, in a handle
// 1 is the bus itself; the numbers end at 127 and begin again.
constexpr std::uint32_t kFirstDeviceNumber = 2;
constexpr std::uint32_t kLastDeviceNumber = 127;

template <class Test>
std::shared_ptr<BenchPlayer> first(const std::vector<std::shared_ptr<BenchPlayer>>& players,
                                   Test test) {
  const auto found = std::find_if(players.begin(), players.end(), test);
  return found != players.end() ? *found : nullptr;
}

std::variant<BenchIdentity, std::string> identityOf(const std::string& file) {
  if (::access(file.c_str(), F_OK) != 0) {
    return BenchIdentity{};
  }
  return readIdentity(file);
}

}  // namespace

std::variant<std::shared_ptr<BenchPlayer>, std::string> BenchPlayers::attach(
    const std::string& benchFolder, const std::string& name) {
  auto identity = identityOf(identityFile(benchFolder, name));
  if (const auto* error = std::get_if<std::string>(&identity)) {
    return *error;
  }
  const std::string path = pluggedImage(benchFolder, name);
  FileHandle image(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (!image) {
    return path + ": can't be opened";
  }
  const std::scoped_lock guard(lock_);
  BenchIdentity& self = std::get<BenchIdentity>(identity);
  const std::uint32_t number = freeDeviceNumber();
  BenchPlayer::Place place;
  place.diskName = self.disk ? freeDiskName() : std::string();
  place.handle = kBus + number;
  place.port = self.port.empty() ? "1-" + std::to_string(number) : self.port;
  players_.push_back(std::make_shared<BenchPlayer>(path, std::move(image), std::move(self),
                                                   std::move(place), workers_));
  return players_.back();
}

void BenchPlayers::forget(const std::shared_ptr<BenchPlayer>& player) {
  const std::scoped_lock guard(lock_);
  std::erase(players_, player);
}

std::shared_ptr<BenchPlayer> BenchPlayers::byImage(const std::string& imagePath) const {
  const std::scoped_lock guard(lock_);
  return first(players_, [&](const auto& player) {
    return player->imagePath() == imagePath && !player->hasLeft();
  });
}

std::shared_ptr<BenchPlayer> BenchPlayers::byHandle(std::uint32_t handle) const {
  const std::scoped_lock guard(lock_);
  return first(players_, [&](const auto& player) { return player->place().handle == handle; });
}

std::shared_ptr<BenchPlayer> BenchPlayers::byDiskName(std::string_view diskName) const {
  const std::scoped_lock guard(lock_);
  return first(players_, [&](const auto& player) {
    return player->identity().disk && player->place().diskName == diskName;
  });
}

std::shared_ptr<BenchPlayer> BenchPlayers::find(const DiskIdentity& expected) const {
  const std::scoped_lock guard(lock_);
  return first(players_, [&](const auto& player) { return player->is(expected); });
}

std::string BenchPlayers::freeDiskName() const {
  for (int number = 0;; ++number) {
    std::string name = "vp" + std::to_string(number);
    if (!first(players_, [&](const auto& player) { return player->place().diskName == name; })) {
      return name;
    }
  }
}

std::uint32_t BenchPlayers::freeDeviceNumber() {
  do {
    lastDeviceNumber_ =
        lastDeviceNumber_ == kLastDeviceNumber ? kFirstDeviceNumber : lastDeviceNumber_ + 1;
  } while (first(players_, [&](const auto& player) {
    return player->place().handle == kBus + lastDeviceNumber_;
  }));
  return lastDeviceNumber_;
}

}  // namespace fillstation
