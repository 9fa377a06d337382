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

// All access of the program to the system. main() installs it before anything else runs; it does
// not change while another thread is running. The ports outlive everything that uses them.
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
  Wakefulness* wakefulness = nullptr;  // null if nothing would put the computer to sleep
  // Ends the program: nothing new begins, pauses and hand-overs return at once, and the process
  // ends without waiting. Main thread; returns only in tests.
  std::function<void()> endProgram;
};

// The installed platform, which is replaced as a whole.
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
