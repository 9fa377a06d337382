#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "BenchPlayer.h"
#include "DiskSession.h"
#include "Workers.h"

namespace fillstation {

// The players that are plugged in, and those whose leaving is still to be handled. Any thread; the
// workers outlive it.
class BenchPlayers {
 public:
  explicit BenchPlayers(Workers& workers) : workers_(workers) {}

  // Takes in the player NAME of a bench folder: its image is opened, its identity read (a standard
  // player's when there is none), and it gets the lowest free disk name and the next device number.
  // The reason when that can't be.
  std::variant<std::shared_ptr<BenchPlayer>, std::string> attach(const std::string& benchFolder,
                                                                 const std::string& name);

  // Forgets a player; its disk name is free then.
  void forget(const std::shared_ptr<BenchPlayer>& player);

  // The player whose image lay or lies at this path and that has not left; null when there is none.
  std::shared_ptr<BenchPlayer> byImage(const std::string& imagePath) const;
  // The player with this handle, or with this disk name ("vp0"), the remembered ones included; null
  // when there is none.
  std::shared_ptr<BenchPlayer> byHandle(std::uint32_t handle) const;
  std::shared_ptr<BenchPlayer> byDiskName(std::string_view diskName) const;
  // The player that is meant, null when it isn't there any more.
  std::shared_ptr<BenchPlayer> find(const DiskIdentity& expected) const;

 private:
  std::string freeDiskName() const;
  std::uint32_t freeDeviceNumber();

  Workers& workers_;
  mutable std::mutex lock_;
  std::vector<std::shared_ptr<BenchPlayer>> players_;
  std::uint32_t lastDeviceNumber_ = 1;
};

}  // namespace fillstation
