#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "BenchPlayer.h"
#include "DiskOrder.h"
#include "DiskSession.h"
#include "MainThread.h"
#include "QtMainThread.h"
#include "ScriptRunner.h"
#include "StopSource.h"
#include "SystemLog.h"
#include "VolumeOwner.h"

namespace fillstation {

// The services of the bench. All of them outlive it; the workers are joined before it is destroyed.
struct BenchServices {
  StopSource& stop;
  QtMainThread& mainThread;
  Clock& clock;
  Workers& workers;
  SystemLog& log;
};

// The players of a bench: those that are plugged in, and those whose leaving is not handled yet.
// Performs the requests to their disks, each on a worker and one after the other for each player.
// Runs the two commands with the system's real tools in a real shell, for the administrator "bench"
// with the password "bench". Knows which player's volume a mounted folder is. Any thread; the
// services outlive it.
class BenchDisks : public DiskSession, public ScriptRunner, public VolumeOwner {
 public:
  BenchDisks(std::string benchFolder, BenchServices services);

  // Adds the player NAME: opens its image, reads its identity (without one, a standard player's),
  // and assigns the lowest free disk name and the next device number. Returns the reason if that
  // fails.
  std::variant<std::shared_ptr<BenchPlayer>, std::string> attach(const std::string& name);
  // Forgets a player, which frees its disk name.
  void forget(const std::shared_ptr<BenchPlayer>& player);
  // The first player that passes the test, including remembered ones; null for none.
  std::shared_ptr<BenchPlayer> first(const std::function<bool(const BenchPlayer&)>& test) const;

  // Removes the mounts that an earlier bench has left in this folder.
  void clear();

  // The automatic consequences: a player that arrives is mounted, as by a desktop; the volume of a
  // player that has left is removed.
  void arrived(const std::shared_ptr<BenchPlayer>& player);
  void left(const std::shared_ptr<BenchPlayer>& player);

  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;

  ScriptOutcome run(std::string_view source, const DiskIdentity& target) override;

  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override;
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override;

 private:
  // Why something was refused, none on success.
  using Refusal = std::optional<Dissenter>;
  using Work = std::function<Refusal(BenchPlayer&)>;

  // Does the work on a worker when the player's earlier requests are done, then calls `told` on the
  // main thread.
  void add(const std::shared_ptr<BenchPlayer>& player, Work work,
           std::function<void(const Refusal&)> told = {});

  Refusal mountAsAsked(BenchPlayer& player);
  Refusal mountNow(BenchPlayer& player);
  Refusal unmountNow(BenchPlayer& player);
  Refusal ejectNow(BenchPlayer& player);
  // Mounts the player if its fault says that another program does so at this moment. Its access is
  // held.
  void remountAt(BenchPlayer& player, RemountMoment moment);
  // The player with this identity, null if it is no longer there.
  std::shared_ptr<BenchPlayer> find(const DiskIdentity& expected) const;
  // The lock is held.
  BenchPlayer::Place freePlace(const BenchIdentity& identity);

  const std::string folder_;
  const std::string volumes_;
  BenchServices services_;
  DiskOrder order_;
  mutable std::mutex lock_;
  std::vector<std::shared_ptr<BenchPlayer>> players_;
  std::uint32_t lastDeviceNumber_ = 1;
};

}  // namespace fillstation
