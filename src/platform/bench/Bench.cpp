#include "Bench.h"

#include <utility>

namespace fillstation {

namespace {

std::string withoutEndingSlash(const std::string& folder) {
  return folder.substr(0, folder.find_last_not_of('/') + 1);
}

}  // namespace

Bench::Bench(const std::string& folder, BenchServices services, BenchCredentials credentials)
    : services_(services),
      disks_(withoutEndingSlash(folder), players_, services),
      bus_(withoutEndingSlash(folder), players_, disks_, services),
      scriptRunner_(players_, disks_, std::move(credentials)),
      fileManager_(disks_, services.stop,
                   [&mainThread = services_.mainThread] { mainThread.keepWindowAlive(); }) {}

std::shared_ptr<DiskSession> Bench::createDiskSession() {
  // The bench outlives its sessions, which are all the same.
  return {std::shared_ptr<void>(), &disks_};
}

void Bench::installInto(Platform& installed) {
  installed.usbBus = &bus_;
  installed.createDiskSession = [this] { return createDiskSession(); };
  installed.scriptRunner = &scriptRunner_;
  installed.fileManager = &fileManager_;
  installed.mainThread = &services_.mainThread;
  installed.clock = &services_.clock;
  installed.workers = &services_.workers;
  installed.systemLog = &services_.log;
}

}  // namespace fillstation
