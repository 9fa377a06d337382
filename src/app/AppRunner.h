#pragma once

#include <functional>
#include <memory>

#include "Platform.h"
#include "QtMainThread.h"
#include "StopSource.h"

namespace fillstation {

class WindowSet;

// What the program needs beside the window: the ports to one kind of players.
struct BackEnd {
  // Sets the ports usbBus, createDiskSession, scriptRunner and fileManager, and any other that it
  // has something better for than what the runner has set already. Returns what owns them, which is
  // kept until the window and every worker are gone.
  std::function<std::shared_ptr<void>(Platform& ports, StopSource& stop, QtMainThread& mainThread)>
      install;
  // Called once when the window is shown, before the main loop begins.
  std::function<void(WindowSet& windows)> shown;
  // Called once before there is a window; false when the program is not to go on, since another one
  // does its work.
  std::function<bool()> claim = [] { return true; };
};

// The program: shows the window over the back end and runs the main loop. Closing the window,
// SIGTERM, SIGINT and SIGHUP leave the process with status 0 at once, without returning; returns
// the status when somebody ends the main loop otherwise, after every worker has ended. Called by
// main() before any thread is started.
int runApplication(int& argc, char** argv, const BackEnd& backEnd);

}  // namespace fillstation
