#include "BenchPlayer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

#include "BenchFolder.h"
#include "BenchVolume.h"
#include "FatImage.h"
#include "Url.h"

namespace fillstation {

namespace {

using Block = std::array<char, 4096>;

bool readBlock(int image, std::int64_t at, Block& block) {
  return ::pread(image, block.data(), block.size(), at) == static_cast<ssize_t>(block.size());
}

bool writeBlock(int image, std::int64_t at, const Block& block) {
  return ::pwrite(image, block.data(), block.size(), at) == static_cast<ssize_t>(block.size());
}

// Two addresses of one block: both get the data that was written last, which is never empty.
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

}  // namespace

BenchPlayer::BenchPlayer(std::string imagePath, FileHandle image, BenchIdentity identity,
                         Place place)
    : imagePath_(std::move(imagePath)),
      image_(std::move(image)),
      identity_(std::move(identity)),
      place_(std::move(place)),
      mediaSize_(sizeOf(image_.get())) {}

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
  const auto fat = known_.load() ? FatImage::open(image_.get()) : std::nullopt;
  if (!fat) {
    return description;
  }
  description.volumeName = fat->label();
  if (const auto mounted = volume()) {
    description.volumePath = Url::fromPath(mounted->folder(), true).absoluteString();
  }
  return description;
}

void BenchPlayer::pull() const {
  const std::filesystem::path image(imagePath_);
  unplugPlayer(image.parent_path(), image.stem());
}

void BenchPlayer::pullAt(PullMoment moment) const {
  if (faults().pull == moment) {
    pull();
  }
}

bool BenchPlayer::searchDisk() {
  found_ = found_ || (identity_.disk && !hasLeft());
  return found_;
}

bool BenchPlayer::isReadOnly() const {
  const std::int64_t after = faults().readOnlyAfterBytes;
  return after >= 0 && copied_.load() >= after;
}

bool BenchPlayer::applyLie() const {
  const BenchFaults& lie = faults();
  if (lie.lie == Lie::kNone || copied_.load() == 0) {
    return true;
  }
  const std::int64_t size = sizeOf(image_.get());
  const std::int64_t most = size - lie.lieFrom;
  const std::int64_t end = lie.lieFrom + (lie.lieBytes == 0 ? most : std::min(lie.lieBytes, most));
  constexpr auto kBlock = static_cast<std::int64_t>(sizeof(Block));
  bool done = true;
  for (std::int64_t at = lie.lieFrom; at <= end - kBlock && done; at += kBlock) {
    done = lieInBlock(image_.get(), at, lie);
  }
  return done;
}

}  // namespace fillstation
