#pragma once

#include <memory>
#include <string>

#include "BenchDisks.h"
#include "BenchPlayers.h"
#include "BenchScriptRunner.h"
#include "BenchUsbBus.h"
#include "Platform.h"
#include "PosixFileManager.h"
#include "Scenario.h"

namespace fillstation {

// The back end of one bench folder, which must exist. Made on the main thread; lives as long as the
// program that uses it.
class Bench {
 public:
  // The folder's path is absolute. The credentials are those that a script must bring.
  Bench(const std::string& folder, BenchServices services, BenchCredentials credentials = {});

  UsbBus& usbBus() { return bus_; }
  std::shared_ptr<DiskSession> createDiskSession();
  ScriptRunner& scriptRunner() { return scriptRunner_; }
  FileManager& fileManager() { return fileManager_; }

  // Sets these four ports and those that the bench was made with; the others stay.
  void installInto(Platform& installed);

 private:
  BenchServices services_;
  BenchPlayers players_;
  BenchDisks disks_;
  BenchUsbBus bus_;
  BenchScriptRunner scriptRunner_;
  PosixFileManager fileManager_;
};

}  // namespace fillstation
