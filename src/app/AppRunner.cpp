#include "AppRunner.h"

#include <sys/prctl.h>

#include <QApplication>
#include <QTimer>
#include <cstdio>

#include "FileHandle.h"
#include "Languages.h"
#include "LeaveProcess.h"
#include "OpenPanel.h"
#include "QtMainThread.h"
#include "QtWorkspace.h"
#include "StreamLog.h"
#include "ThreadWorkers.h"
#include "WindowSet.h"
#include "WindowStyle.h"

namespace fillstation {
namespace {

// Milliseconds in which the window is painted for the first time: nobody waits for the icon.
constexpr int kIconPause = 30;

// The ports that don't depend on the kind of players.
struct CommonPorts {
  explicit CommonPorts(StopSource& stop) : mainThread(stop), workers(stop) {
    platform().mainThread = &mainThread;
    platform().clock = &mainThread;
    platform().workers = &workers;
    platform().systemLog = &log;
    platform().workspace = &workspace;
  }

  QtMainThread mainThread;
  QtWorkspace workspace;
  StreamLog log{stderr};
  ThreadWorkers workers;
};

void dressApplication() {
  QApplication::setApplicationName(QStringLiteral("fillstation"));
  QApplication::setApplicationDisplayName(QStringLiteral("Fillstation"));
  QApplication::setDesktopFileName(QStringLiteral("fillstation"));
  QApplication::setStyle(new WindowStyle(WindowStyle::nameFor(QApplication::style()->name())));
  // Hiding the windows on the way out must not end the main loop a second way.
  QApplication::setQuitOnLastWindowClosed(false);
}

}  // namespace

int runApplication(int& argc, char** argv, const BackEnd& backEnd) {
  // An administrator's password is typed here: no other program of the person may read it, and no
  // core dump may hold it.
  ::prctl(PR_SET_DUMPABLE, 0);
  allowManyOpenFiles();
  StopSource stop;
  const auto leave = [&stop] {
    stop.request();
    leaveProcess(0);
  };
  const SignalQuit quit(leave);
  OpenPanel::keepSettingsAway();
  const QApplication application(argc, argv);
  dressApplication();
  speak(desktopLanguages());
  if (!backEnd.claim()) {
    return 0;
  }

  CommonPorts common(stop);
  platform().endProgram = leave;
  const std::shared_ptr<void> ports = backEnd.install(platform(), stop, common.mainThread);
  WindowSet windows;
  windows.window().show();
  QTimer::singleShot(0, windows.delegate().get(), &TRAppDelegate::applicationDidFinishLaunching);
  QTimer::singleShot(kIconPause, [] { QApplication::setWindowIcon(programIcon()); });
  backEnd.shown(windows);
  const int status = QApplication::exec();
  stop.request();
  common.workers.joinAll();
  return status;
}

}  // namespace fillstation
