#pragma once

#include <memory>

#include "BenchPlayer.h"
#include "BenchVolume.h"
#include "Clock.h"
#include "VolumeOwner.h"

namespace fillstation {

// One opening of a bench player's volume: the volume's rules, the player's speed and its faults.
// One thread at a time; the clock outlives it.
class BenchMedium : public VolumeMedium {
 public:
  BenchMedium(std::shared_ptr<BenchPlayer> player, std::shared_ptr<BenchVolume> volume,
              Clock& clock);
  ~BenchMedium() override;

  int admitDirectory(const std::string& relativePath) override;
  int admitFile(const std::string& relativePath, std::int64_t size) override;
  int admitBytes(std::int64_t count) override;
  void created(const std::string& relativePath, bool isDirectory) override;
  bool flush(int rootDescriptor) override;

 private:
  // Why the medium takes nothing any more: 0 or an errno.
  int refusal() const;

  std::shared_ptr<BenchPlayer> player_;
  std::shared_ptr<BenchVolume> volume_;
  Clock& clock_;
};

}  // namespace fillstation
