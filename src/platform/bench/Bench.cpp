#include "Bench.h"

namespace fillstation {

Bench::Bench(const std::string& folder, BenchServices services)
    : services_(services),
      disks_(folder, services),
      bus_(folder, disks_, services),
      fileManager_(disks_, services.stop,
                   [&mainThread = services_.mainThread] { mainThread.keepWindowAlive(); }) {}

std::shared_ptr<DiskSession> Bench::createDiskSession() {
  // The bench outlives its sessions, which are all the same.
  return {std::shared_ptr<void>(), &disks_};
}

void Bench::installInto(Platform& installed) {
  installed.usbBus = &bus_;
  installed.createDiskSession = [this] { return createDiskSession(); };
  installed.scriptRunner = &disks_;
  installed.fileManager = &fileManager_;
  installed.mainThread = &services_.mainThread;
  installed.clock = &services_.clock;
  installed.workers = &services_.workers;
  installed.systemLog = &services_.log;
}

}  // namespace fillstation
