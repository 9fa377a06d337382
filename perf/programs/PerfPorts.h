#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "DiskSession.h"
#include "PosixFileManager.h"
#include "QtMainThread.h"
#include "QtWorkspace.h"
#include "ScriptRunner.h"
#include "StopSource.h"
#include "StreamLog.h"
#include "ThreadWorkers.h"
#include "UsbBus.h"
#include "VolumeOwner.h"

namespace fillstation::perf {

// The ports of a measurement: mounted folders stand for formatted players, so that only the copying
// remains of a run. Player n is "/dev/vp<n>" with the n-th folder as its volume; commands succeed
// at once, and nothing pauses. Files, threads, main thread and log are the program's own. Copies
// are read back only if asked for. Made on the main thread when the application object exists.
class PerfPorts {
 public:
  using Seconds = std::chrono::duration<double>;

  explicit PerfPorts(std::vector<std::string> mountPaths, bool readsBack = false);
  ~PerfPorts();
  PerfPorts(const PerfPorts&) = delete;
  PerfPorts& operator=(const PerfPorts&) = delete;

  static std::string nodeOf(std::size_t player) { return "/dev/vp" + std::to_string(player); }

  // How long the read back of one player took at most.
  Seconds longestReadBack() const { return fileManager_.longest(); }

 private:
  class Session;
  class OneDisk;
  class TimedVolume;

  // Disks are known by nodeOf() alone.
  class Owner : public VolumeOwner {
   public:
    std::shared_ptr<VolumeMedium> mediumOf(int rootDescriptor, const std::string& mountPath,
                                           const DiskIdentity& owner) override;
    std::optional<std::string> remount(const DiskIdentity& owner,
                                       const std::string& mountPath) override;
  };
  // Skips the read back, or measures it.
  class Files : public PosixFileManager {
   public:
    Files(VolumeOwner& owner, const StopSource& stop, bool readsBack)
        : PosixFileManager(owner, stop), readsBack_(readsBack) {}

    std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                       const DiskIdentity& owner) override;
    bool readBack(Volume& volume, const CopiedItems& items);
    Seconds longest() const;

   private:
    const bool readsBack_;
    mutable std::mutex lock_;
    Seconds longest_{};
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
    UsbPlace placeOf(std::uint32_t handle) const override;
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
  QtWorkspace workspace_;
  StreamLog log_{stderr};
  ThreadWorkers workers_{stop_};
  Files fileManager_;
};

}  // namespace fillstation::perf
