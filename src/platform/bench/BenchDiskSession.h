#pragma once

#include <memory>
#include <optional>
#include <string_view>

#include "BenchPlayers.h"
#include "BenchServices.h"
#include "BenchVolumes.h"
#include "DiskSession.h"

namespace fillstation {

// The bench's disks: one per player that has one. Requests run on the player's own queue. Any
// thread; players, volumes and services outlive it.
class BenchDiskSession : public DiskSession {
 public:
  BenchDiskSession(BenchPlayers& players, BenchVolumes& volumes, BenchServices services)
      : players_(players), volumes_(volumes), services_(services) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override;
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& expected,
             Completion completion) override;

 private:
  using Work = std::optional<Dissenter> (BenchVolumes::*)(BenchPlayer&);

  void request(Work work, const std::shared_ptr<Disk>& disk, const DiskIdentity& expected,
               Completion completion);

  BenchPlayers& players_;
  BenchVolumes& volumes_;
  BenchServices services_;
};

}  // namespace fillstation
