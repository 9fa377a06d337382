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

// What the bench is built on. All of it outlives the bench, and the workers have been joined when
// the bench is destroyed.
struct BenchServices {
  StopSource& stop;
  QtMainThread& mainThread;
  Clock& clock;
  Workers& workers;
  SystemLog& log;
};

// The players of a bench, those that are plugged in and those whose leaving is still to be handled,
// and what is done to their disks: the requests, each on a worker and one after the other for each
// player; the two commands, by the system's real tools in a real shell, for the administrator
// "bench" with the password "bench"; and whose volume a mounted folder is. Any thread; the services
// outlive it.
class BenchDisks : public DiskSession, public ScriptRunner, public VolumeOwner {
 public:
  BenchDisks(std::string benchFolder, BenchServices services);

  // Takes in the player NAME: its image is opened, its identity read (a standard player's when
  // there is none), and it gets the lowest free disk name and the next device number. The reason
  // when that can't be.
  std::variant<std::shared_ptr<BenchPlayer>, std::string> attach(const std::string& name);
  // Forgets a player; its disk name is free then.
  void forget(const std::shared_ptr<BenchPlayer>& player);
  // The first player that passes the test, the remembered ones included; null when none does.
  std::shared_ptr<BenchPlayer> first(const std::function<bool(const BenchPlayer&)>& test) const;

  // Removes what an earlier bench on this folder has left mounted.
  void clear();

  // What happens by itself when a player arrives (it is mounted, as by a desktop) and when it has
  // left (its volume goes).
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

  // Does the work on a worker when what was asked of the player before is done; `told` is called on
  // the main thread then.
  void add(const std::shared_ptr<BenchPlayer>& player, Work work,
           std::function<void(const Refusal&)> told = {});

  Refusal mountAsAsked(BenchPlayer& player);
  Refusal mountNow(BenchPlayer& player);
  Refusal unmountNow(BenchPlayer& player);
  Refusal ejectNow(BenchPlayer& player);
  // Mounts the player when something else on the machine does so at this moment. Its access is
  // held.
  void remountAt(BenchPlayer& player, RemountMoment moment);
  // The player that is meant, null when it isn't there any more.
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
