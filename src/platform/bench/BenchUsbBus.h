#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "BenchPlayers.h"
#include "BenchServices.h"
#include "BenchVolumes.h"
#include "FolderWatch.h"
#include "MainLoopQueue.h"
#include "UsbBus.h"

namespace fillstation {

// The bench folder as a USB bus: an image that comes is a player plugged in, one that goes a player
// pulled out. Main thread; players, volumes and services outlive it.
class BenchUsbBus : public UsbBus {
 public:
  BenchUsbBus(std::string benchFolder, BenchPlayers& players, BenchVolumes& volumes,
              BenchServices services);
  ~BenchUsbBus() override;

  bool open(std::string_view className) override;
  std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) override;
  std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) override;
  // A player's image is its medium: another image is another player.
  void watchMedia(std::function<void()> /*notification*/) override {}
  std::optional<std::int64_t> takeMedium(const DiskIdentity& /*player*/) override {
    return std::nullopt;
  }
  std::string portName(std::uint32_t handle) const override;
  void hold() override { queue_.hold(); }
  void resume() override { queue_.resume(); }

 private:
  class Side;

  void scan();
  void fileChanged(const std::string& fileName, bool come);
  void arrive(const std::string& name);
  void leave(const std::shared_ptr<BenchPlayer>& player);
  std::shared_ptr<UsbDeviceIterator> watch(const std::shared_ptr<Side>& side,
                                           Notification notification);
  void updateBusy();

  const std::string folder_;
  BenchPlayers& players_;
  BenchVolumes& volumes_;
  BenchServices services_;
  UsbEventQueue queue_;
  FolderWatch folderWatch_;
  std::shared_ptr<Side> attach_;
  std::shared_ptr<Side> detach_;
};

}  // namespace fillstation
