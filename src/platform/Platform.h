#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include "DiskSession.h"
#include "FileManager.h"
#include "Format.h"
#include "MainThread.h"
#include "ScriptRunner.h"
#include "SystemLog.h"
#include "UsbBus.h"
#include "Workspace.h"

namespace fillstation {

// Every way out of the program into the system. Installed by main() before anything else runs and
// not changed while another thread is alive; the ports outlive everything that uses them.
struct Platform {
  UsbBus* usbBus = nullptr;
  std::function<std::shared_ptr<DiskSession>()> createDiskSession;
  ScriptRunner* scriptRunner = nullptr;
  FileManager* fileManager = nullptr;
  MainThread* mainThread = nullptr;
  Clock* clock = nullptr;
  Workers* workers = nullptr;
  SystemLog* systemLog = nullptr;
  Workspace* workspace = nullptr;
  Wakefulness* wakefulness = nullptr;  // null where nothing would put the machine to sleep
  // Ends the program: nothing new is begun, pauses and hand-overs return at once, and the process
  // leaves without waiting for anything. Main thread; returns only in tests.
  std::function<void()> endProgram;
};

// The installed platform, to be replaced as a whole.
inline Platform& platform() {
  static Platform installed;
  return installed;
}

// Writes the formatted text to the system log (see formatText()).
template <class... Values>
void logText(std::string_view pattern, const Values&... values) {
  platform().systemLog->write(formatText(pattern, values...));
}

}  // namespace fillstation
