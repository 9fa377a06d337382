#include "Bench.h"

#include <utility>

#include "BenchDiskSession.h"

namespace fillstation {

namespace {

std::string withoutEndingSlash(const std::string& folder) {
  return folder.substr(0, folder.find_last_not_of('/') + 1);
}

}  // namespace

Bench::Bench(const std::string& folder, BenchServices services, BenchCredentials credentials)
    : services_(services),
      players_(services.workers),
      volumes_(withoutEndingSlash(folder), players_, services),
      bus_(withoutEndingSlash(folder), players_, volumes_, services),
      scriptRunner_(players_, volumes_, std::move(credentials)),
      fileManager_(volumes_, services.stop,
                   [&mainThread = services_.mainThread] { mainThread.keepWindowAlive(); }) {}

std::shared_ptr<DiskSession> Bench::createDiskSession() {
  return std::make_shared<BenchDiskSession>(players_, volumes_, services_);
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
