#pragma once

#include <memory>
#include <optional>
#include <string>

#include "BenchPlayers.h"
#include "BenchServices.h"
#include "VolumeOwner.h"

namespace fillstation {

// Mounting, unmounting and ejecting of the bench's players; knows whose volume a mounted folder is.
// Each function returns why it refused, none on success. Any thread; players and services outlive
// it.
class BenchVolumes : public VolumeOwner {
 public:
  BenchVolumes(std::string benchFolder, BenchPlayers& players, BenchServices services);

  // Removes what an earlier bench on this folder has left mounted.
  void clear();

  std::optional<Dissenter> mount(BenchPlayer& player);
  std::optional<Dissenter> unmount(BenchPlayer& player);
  std::optional<Dissenter> eject(BenchPlayer& player);

  // Mounts the player when something else on the machine does so at this moment. Its access is
  // held.
  void remountAt(BenchPlayer& player, RemountMoment moment);

  // What happens by itself when a player arrives (it is mounted, unless its identity says no) and
  // when it has left (its volume goes).
  void arrived(const std::shared_ptr<BenchPlayer>& player);
  void left(const std::shared_ptr<BenchPlayer>& player);

  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override;
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override;

 private:
  std::optional<Dissenter> mountNow(BenchPlayer& player);
  std::optional<Dissenter> mountLocked(BenchPlayer& player);

  const std::string folder_;
  BenchPlayers& players_;
  BenchServices services_;
};

}  // namespace fillstation
