#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Clock.h"
#include "DiskSession.h"
#include "PosixFileManager.h"
#include "QtMainThread.h"
#include "ScriptRunner.h"
#include "StopSource.h"
#include "StreamLog.h"
#include "ThreadWorkers.h"
#include "UsbBus.h"
#include "VolumeOwner.h"

namespace fillstation::perf {

// The ports of a measurement: folders that are mounted already stand for formatted players, so that
// what is left of a run is the copying itself. Player n is "/dev/vp<n>" with the n-th folder as its
// volume; commands succeed at once, nothing pauses. Files, threads, main thread and log are the
// program's own. Made on the main thread when the application object exists.
class PerfPorts {
 public:
  explicit PerfPorts(std::vector<std::string> mountPaths);
  ~PerfPorts();
  PerfPorts(const PerfPorts&) = delete;
  PerfPorts& operator=(const PerfPorts&) = delete;

  static std::string nodeOf(std::size_t player) { return "/dev/vp" + std::to_string(player); }

 private:
  class Session;
  class OneDisk;

  // Disks are known by nodeOf() alone.
  class Owner : public VolumeOwner {
   public:
    std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                           const DiskIdentity& owner) override;
    std::optional<std::string> remount(const DiskIdentity& owner,
                                       const std::string& mountPath) override;
  };
  class NoPause : public Clock {
   public:
    bool sleep(std::chrono::microseconds duration) override;
  };
  class YesRunner : public ScriptRunner {
   public:
    ScriptOutcome run(std::string_view source, const DiskIdentity& target) override;
  };
  class NoBus : public UsbBus {
   public:
    bool open(std::string_view className) override;
    std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) override;
    std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) override;
    std::string portName(std::uint32_t handle) const override;
    void watchMedia(std::function<void()> /*notification*/) override {}
    std::optional<std::int64_t> takeMedium(const DiskIdentity& /*player*/) override { return {}; }
    void hold() override {}
    void resume() override {}
  };

  std::vector<std::string> mountPaths_;
  StopSource stop_;
  QtMainThread mainThread_{stop_};
  Owner owner_;
  NoPause clock_;
  YesRunner runner_;
  NoBus bus_;
  StreamLog log_{stderr};
  ThreadWorkers workers_{stop_};
  PosixFileManager fileManager_{owner_, stop_};
};

}  // namespace fillstation::perf
