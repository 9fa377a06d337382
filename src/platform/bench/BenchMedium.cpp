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

int BenchMedium::admitDirectory(const std::string& relativePath) {
  return player_->isPresent() ? volume_->admitDirectory(relativePath) : ENODEV;
}

int BenchMedium::admitFile(const std::string& relativePath, std::int64_t size) {
  return player_->isPresent() ? volume_->admitFile(relativePath, size) : ENODEV;
}

int BenchMedium::admitBytes(std::int64_t count) {
  const BenchFaults& faults = player_->faults();
  if (faults.bytesPerSecond > 0) {
    clock_.sleep(std::chrono::microseconds(
        static_cast<std::int64_t>(static_cast<double>(count) * kMicrosecondsPerSecond /
                                  static_cast<double>(faults.bytesPerSecond))));
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
  if (player_->isPresent()) {
    volume_->created(relativePath, isDirectory);
  }
}

bool BenchMedium::flush(int /*rootDescriptor*/) {
  return player_->isPresent() && volume_->flush() && player_->isPresent();
}

}  // namespace fillstation
