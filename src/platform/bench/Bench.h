#pragma once

#include <QSocketNotifier>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "BenchDisks.h"
#include "FileHandle.h"
#include "Platform.h"
#include "PosixFileManager.h"
#include "QtUsbBus.h"

namespace fillstation {

// The bench folder as a USB bus: an image that comes is a player plugged in, one that goes a player
// pulled out. A file that is being written there comes when its writer has closed it; one that is
// moved in comes at once. Main thread; disks and services outlive it.
class BenchUsbBus : public QtUsbBus {
 public:
  BenchUsbBus(std::string benchFolder, BenchDisks& disks, BenchServices services);

  // Once.
  bool open(std::string_view className) override;
  // A player's image is its medium: with another image it is another player.
  void watchMedia(std::function<void()> /*notification*/) override {}
  std::optional<std::int64_t> takeMedium(const DiskIdentity& /*player*/) override {
    return std::nullopt;
  }
  UsbPlace placeOf(std::uint32_t handle) const override;

 private:
  bool watchFolder();
  void readEvents();
  void scan();
  void fileChanged(const std::string& fileName, bool come);
  void arrive(const std::string& name);
  void leave(const std::shared_ptr<BenchPlayer>& player);

  const std::string folder_;
  BenchDisks& disks_;
  BenchServices services_;
  FileHandle events_;
  std::unique_ptr<QSocketNotifier> notifier_;
};

// The back end of one bench folder, which must exist. Made on the main thread; lives as long as the
// program.
class Bench {
 public:
  // The folder's path is absolute, without a "/" at its end.
  Bench(const std::string& folder, BenchServices services);

  // Sets the ports of the bus, the disks, the scripts and the files, and those that the bench was
  // made with; the other ports stay.
  void installInto(Platform& installed);

 private:
  BenchServices services_;
  BenchDisks disks_;
  BenchUsbBus bus_;
  PosixFileManager fileManager_;
};

}  // namespace fillstation
