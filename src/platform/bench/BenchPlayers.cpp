#include "BenchPlayers.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "BenchFolder.h"
#include "BenchVolume.h"
#include "FatImage.h"
#include "Url.h"

namespace fillstation {

namespace {

constexpr std::uint32_t kBus = 0x10000;  // bus number 1, in a handle
// 1 is the bus itself; the numbers end at 127 and begin again.
constexpr std::uint32_t kFirstDeviceNumber = 2;
constexpr std::uint32_t kLastDeviceNumber = 127;

using Block = std::array<char, 4096>;

bool readBlock(int image, std::int64_t at, Block& block) {
  return ::pread(image, block.data(), block.size(), at) == static_cast<ssize_t>(block.size());
}

bool writeBlock(int image, std::int64_t at, const Block& block) {
  return ::pwrite(image, block.data(), block.size(), at) == static_cast<ssize_t>(block.size());
}

// Two addresses of one block: what was written last, which is never the fresh one, is in both.
bool wrapBlock(int image, std::int64_t at, std::int64_t end, Block block) {
  const std::int64_t alias = at % end;
  return std::all_of(block.begin(), block.end(), [](char byte) { return byte == 0; })
             ? readBlock(image, alias, block) && writeBlock(image, at, block)
             : writeBlock(image, alias, block);
}

bool lieInBlock(int image, std::int64_t at, const BenchFaults& faults) {
  Block block{};
  if (!readBlock(image, at, block)) {
    return false;
  }
  switch (faults.lie) {
    case Lie::kWraps:
      return wrapBlock(image, at, faults.lieFrom, block);
    case Lie::kFlips:
      block[0] = static_cast<char>(block[0] ^ 1);
      return writeBlock(image, at, block);
    default:
      return writeBlock(image, at, Block{});
  }
}

std::int64_t sizeOf(int descriptor) {
  struct stat status {};
  ::fstat(descriptor, &status);
  return status.st_size;
}

std::variant<BenchIdentity, std::string> identityOf(const std::string& file) {
  if (::access(file.c_str(), F_OK) != 0) {
    return BenchIdentity{};
  }
  return readIdentity(file);
}

}  // namespace

BenchPlayer::BenchPlayer(std::string imagePath, FileHandle image, BenchIdentity identity,
                         Place place)
    : imagePath_(std::move(imagePath)),
      image_(std::move(image)),
      identity_(std::move(identity)),
      place_(std::move(place)),
      mediaSize_(sizeOf(image_.get())),
      known_(!identity_.automount) {}

bool BenchPlayer::isPresent() const { return !gone_.load() && isOpenOn(image_.get(), imagePath_); }

bool BenchPlayer::is(const DiskIdentity& expected) const {
  return expected.node == node() && expected.usbHandle == place_.handle && isPresent();
}

std::optional<DiskDescription> BenchPlayer::copyDescription() {
  DiskDescription description;
  if (!isPresent() || isEjected()) {
    return description;
  }
  description.deviceVendor = identity_.vendor;
  description.mediaSize = mediaSize_;
  const auto fat = isKnown() ? FatImage::open(image_.get()) : std::nullopt;
  if (!fat) {
    return description;
  }
  description.volumeName = fat->label();
  if (const auto mounted = volume()) {
    description.volumePath = Url::fromPath(mounted->folder(), true).absoluteString();
  }
  return description;
}

void BenchPlayer::pull() const { unplugImage(imagePath_); }

void BenchPlayer::pullAt(PullMoment moment) const {
  if (faults().pull == moment) {
    pull();
  }
}

bool BenchPlayer::searchDisk() {
  const std::int64_t needed = faults().diskAfterSearches;
  if (hasLeft()) {
    return identity_.disk && searches_.load() > needed;
  }
  return identity_.disk && searches_++ >= needed;
}

bool BenchPlayer::isReadOnly() const {
  const auto after = faults().readOnlyAfterBytes;
  return after && copied_.load() >= *after;
}

bool BenchPlayer::applyLie() const {
  const BenchFaults& lie = faults();
  if (lie.lie == Lie::kNone || copied_.load() == 0) {
    return true;
  }
  const std::int64_t size = sizeOf(image_.get());
  const bool toTheEnd = lie.lieBytes == 0 || lie.lieBytes > size - lie.lieFrom;
  const std::int64_t end = toTheEnd ? size : lie.lieFrom + lie.lieBytes;
  constexpr auto kBlock = static_cast<std::int64_t>(sizeof(Block));
  bool done = true;
  for (std::int64_t at = lie.lieFrom; at <= end - kBlock && done; at += kBlock) {
    done = lieInBlock(image_.get(), at, lie);
  }
  return done;
}

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
  BenchPlayer::Place place = freePlace(self);
  players_.push_back(
      std::make_shared<BenchPlayer>(path, std::move(image), std::move(self), std::move(place)));
  return players_.back();
}

BenchPlayer::Place BenchPlayers::freePlace(const BenchIdentity& identity) {
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
  place.port = identity.port.empty() ? "1-" + std::to_string(lastDeviceNumber_) : identity.port;
  int number = 0;
  while (identity.disk &&
         (place.diskName.empty() || isTaken(&BenchPlayer::Place::diskName, place.diskName))) {
    place.diskName = "vp" + std::to_string(number++);
  }
  return place;
}

void BenchPlayers::forget(const std::shared_ptr<BenchPlayer>& player) {
  const std::scoped_lock guard(lock_);
  std::erase(players_, player);
}

std::shared_ptr<BenchPlayer> BenchPlayers::first(
    const std::function<bool(const BenchPlayer&)>& test) const {
  const std::scoped_lock guard(lock_);
  const auto found = std::find_if(players_.begin(), players_.end(),
                                  [&test](const auto& player) { return test(*player); });
  return found != players_.end() ? *found : nullptr;
}

std::shared_ptr<BenchPlayer> BenchPlayers::find(const DiskIdentity& expected) const {
  return first([&expected](const auto& player) { return player.is(expected); });
}

}  // namespace fillstation
