#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "BenchPlayers.h"
#include "DiskOrder.h"
#include "DiskSession.h"
#include "QtMainThread.h"
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

// The bench's disks, one per player that has one: their requests, each on a worker and one after
// the other for each player, and whose volume a mounted folder is. Any thread; players and services
// outlive it.
class BenchDisks : public DiskSession, public VolumeOwner {
 public:
  BenchDisks(std::string benchFolder, BenchPlayers& players, BenchServices services);

  // Removes what an earlier bench on this folder has left mounted.
  void clear();

  // What happens by itself when a player arrives (it is mounted, unless its identity says no) and
  // when it has left (its volume goes).
  void arrived(const std::shared_ptr<BenchPlayer>& player);
  void left(const std::shared_ptr<BenchPlayer>& player);

  // Mounts the player when something else on the machine does so at this moment. Its access is
  // held.
  void remountAt(BenchPlayer& player, RemountMoment moment);

  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override;
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override;

  std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                         const DiskIdentity& owner) override;
  std::optional<std::string> remount(const DiskIdentity& owner,
                                     const std::string& mountPath) override;

 private:
  // Why something was refused, none on success.
  using Refusal = std::optional<Dissenter>;
  using Work = std::function<Refusal(BenchPlayer&)>;

  void request(Work work, const std::shared_ptr<Disk>& disk, const DiskIdentity& expected,
               const Completion& completion);
  // Does the work on a worker when what was asked of the player before is done; `told` is called on
  // the main thread then.
  void add(const std::shared_ptr<BenchPlayer>& player, Work work,
           std::function<void(const Refusal&)> told = {});

  Refusal mountAsAsked(BenchPlayer& player);
  Refusal mountNow(BenchPlayer& player);
  Refusal mountLocked(BenchPlayer& player);
  Refusal unmountNow(BenchPlayer& player);
  Refusal ejectNow(BenchPlayer& player);

  const std::string folder_;
  BenchPlayers& players_;
  BenchServices services_;
  DiskOrder order_;
};

}  // namespace fillstation
