#include "BenchPlayer.h"

#include <sys/stat.h>

#include <utility>

#include "BenchFolder.h"

namespace fillstation {

namespace {

std::int64_t sizeOf(int descriptor) {
  struct stat status {};
  ::fstat(descriptor, &status);
  return status.st_size;
}

}  // namespace

BenchPlayer::BenchPlayer(std::string imagePath, FileHandle image, BenchIdentity identity,
                         Place place, Workers& workers)
    : imagePath_(std::move(imagePath)),
      image_(std::move(image)),
      identity_(std::move(identity)),
      place_(std::move(place)),
      mediaSize_(sizeOf(image_.get())),
      requests_(workers),
      known_(!identity_.automount) {}

bool BenchPlayer::isPresent() const {
  struct stat ours {};
  struct stat there {};
  return !gone_.load() && ::fstat(image_.get(), &ours) == 0 &&
         ::stat(imagePath_.c_str(), &there) == 0 && ours.st_dev == there.st_dev &&
         ours.st_ino == there.st_ino;
}

bool BenchPlayer::is(const DiskIdentity& expected) const {
  return expected.node == node() && expected.usbHandle == place_.handle && isPresent();
}

void BenchPlayer::pull() const { unplugImage(imagePath_); }

void BenchPlayer::pullAt(PullMoment moment) const {
  if (faults().pull == moment) {
    pull();
  }
}

bool BenchPlayer::isReadOnly() const {
  const auto after = faults().readOnlyAfterBytes;
  return after && copied_.load() >= *after;
}

bool BenchPlayer::searchDisk() {
  const std::int64_t needed = faults().diskAfterSearches;
  if (hasLeft()) {
    return identity_.disk && searches_.load() > needed;
  }
  return identity_.disk && searches_++ >= needed;
}

}  // namespace fillstation
