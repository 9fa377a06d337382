#pragma once

#include <functional>
#include <memory>

#include "Platform.h"
#include "QtMainThread.h"
#include "StopSource.h"

namespace fillstation {

class WindowSet;

// What differs between back ends: the ports for one kind of players.
struct BackEnd {
  // Sets the ports usbBus, createDiskSession, scriptRunner and fileManager, and may replace other
  // ports that the runner has set. Returns the owner of the ports, which is kept until the window
  // and every worker have ended.
  std::function<std::shared_ptr<void>(Platform& ports, StopSource& stop, QtMainThread& mainThread)>
      install;
  // Called once when the window is shown, before the main loop begins.
  std::function<void(WindowSet& windows)> shown;
  // Called once before there is a window; false if the program must end, because another instance
  // is running.
  std::function<bool()> claim = [] { return true; };
};

// The program: shows the window with the back end and runs the main loop. Closing the window,
// SIGTERM, SIGINT and SIGHUP end the process at once with status 0. Returns only if the main loop
// ends in another way: the status, after every worker has ended. main() calls it before it starts
// any thread.
int runApplication(int& argc, char** argv, const BackEnd& backEnd);

}  // namespace fillstation
