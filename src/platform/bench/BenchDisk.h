#pragma once

#include <memory>
#include <utility>

#include "BenchPlayer.h"
#include "DiskSession.h"

namespace fillstation {

// A bench player as a disk. Any thread.
class BenchDisk : public Disk {
 public:
  explicit BenchDisk(std::shared_ptr<BenchPlayer> player) : player_(std::move(player)) {}

  // Volume facts are read from the image: none while the file system that is there now has not been
  // looked at, no path while nothing is mounted. An ejected player says nothing.
  std::optional<DiskDescription> copyDescription() override;

  const std::shared_ptr<BenchPlayer>& player() const { return player_; }

 private:
  std::shared_ptr<BenchPlayer> player_;
};

}  // namespace fillstation
