#include "Bench.h"

namespace fillstation {

Bench::Bench(const std::string& folder, BenchServices services)
    : services_(services),
      disks_(folder, services),
      bus_(folder, disks_, services),
      fileManager_(disks_, services.stop,
                   [&mainThread = services_.mainThread] { mainThread.keepWindowAlive(); }) {}

void Bench::installInto(Platform& installed) {
  installed.usbBus = &bus_;
  // The bench outlives its sessions, which are all the same.
  installed.createDiskSession = [this] {
    return std::shared_ptr<DiskSession>(std::shared_ptr<void>(), &disks_);
  };
  installed.scriptRunner = &disks_;
  installed.fileManager = &fileManager_;
  installed.mainThread = &services_.mainThread;
  installed.clock = &services_.clock;
  installed.workers = &services_.workers;
  installed.systemLog = &services_.log;
}

}  // namespace fillstation
