#include "BenchMedium.h"

#include <cerrno>
#include <utility>

namespace fillstation {

namespace {

constexpr double kMicrosecondsPerSecond = 1'000'000.0;

}  // namespace

BenchMedium::BenchMedium(std::shared_ptr<BenchPlayer> player, std::shared_ptr<BenchVolume> volume,
                         Clock& clock)
    : player_(std::move(player)), volume_(std::move(volume)), clock_(clock) {
  volume_->opened();
}

BenchMedium::~BenchMedium() { volume_->released(); }

int BenchMedium::refusal() const {
  if (!player_->isPresent()) {
    return ENODEV;
  }
  return player_->isReadOnly() ? EROFS : 0;
}

int BenchMedium::admitDirectory(const std::string& relativePath) {
  const int refused = refusal();
  return refused != 0 ? refused : volume_->admitDirectory(relativePath);
}

int BenchMedium::admitFile(const std::string& relativePath, std::int64_t size) {
  const int refused = refusal();
  return refused != 0 ? refused : volume_->admitFile(relativePath, size);
}

int BenchMedium::admitBytes(std::int64_t count) {
  const BenchFaults& faults = player_->faults();
  if (faults.bytesPerSecond > 0) {
    clock_.sleep(std::chrono::microseconds(
        static_cast<std::int64_t>(static_cast<double>(count) * kMicrosecondsPerSecond /
                                  static_cast<double>(faults.bytesPerSecond))));
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
  return faults.failAfterBytes && copied > *faults.failAfterBytes ? EIO : 0;
}

void BenchMedium::created(const std::string& relativePath, bool isDirectory) {
  if (refusal() == 0) {
    volume_->created(relativePath, isDirectory);
  }
}

bool BenchMedium::flush(int /*rootDescriptor*/) {
  if (player_->faults().pull == PullMoment::kDuringFlush) {
    volume_->flushHalf();
    player_->pull();
  }
  return refusal() == 0 && volume_->flush() && player_->isPresent();
}

}  // namespace fillstation
