#include <sys/prctl.h>

#include <QApplication>
#include <QProxyStyle>
#include <QThread>
#include <QTimer>
#include <cstdio>
#include <string>

#include "AppRunner.h"
#include "OpenPanel.h"
#include "TestUsbBus.h"
#include "WindowSet.h"

// A program on runApplication() that says on standard output what happens when. It ends because
// another program does the work when its argument is "second", else by an exit of the main loop.
namespace fillstation {
namespace {

using test::TestMainThread;
using test::TestUsbBus;

WindowSet* windowsShown = nullptr;

class SilentBus : public TestUsbBus {
 public:
  using TestUsbBus::TestUsbBus;
  bool open(std::string_view className) override {
    if (windowsShown != nullptr) {
      std::printf("registering for %s, visible %d, in the loop %d\n",
                  std::string(className).c_str(), windowsShown->window().isVisible() ? 1 : 0,
                  QThread::currentThread()->loopLevel() > 0 ? 1 : 0);
    }
    return false;
  }
};

struct Owner {
  Owner() = default;
  ~Owner() { std::puts("back end gone"); }
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  TestMainThread nobody;
  SilentBus bus{nobody};
};

std::shared_ptr<void> install(Platform& ports, StopSource& stop, QtMainThread& mainThread) {
  std::printf("install, on the main thread %d, dumpable %d\n", mainThread.isHere() ? 1 : 0,
              ::prctl(PR_GET_DUMPABLE));
  auto owner = std::make_shared<Owner>();
  ports.usbBus = &owner->bus;
  ports.createDiskSession = [] { return std::shared_ptr<DiskSession>(); };
  static const StopSource::Callback told(stop.token(), [] { std::puts("stop"); });
  return owner;
}

// What the window's style draws by.
QString nameOfBaseStyle() {
  const auto* const style = qobject_cast<QProxyStyle*>(QApplication::style());
  return style != nullptr ? style->baseStyle()->name() : QString();
}

void shown(WindowSet& windows) {
  windowsShown = &windows;
  std::printf("shown, visible %d, in the loop %d\n", windows.window().isVisible() ? 1 : 0,
              QThread::currentThread()->loopLevel() > 0 ? 1 : 0);
  std::printf("%s %s %s icon %d %s %d\n", qUtf8Printable(QApplication::applicationName()),
              qUtf8Printable(QApplication::applicationDisplayName()),
              qUtf8Printable(QApplication::desktopFileName()),
              windows.window().windowIcon().isNull() ? 0 : 1, qUtf8Printable(nameOfBaseStyle()),
              QApplication::quitOnLastWindowClosed() ? 1 : 0);
  logText("a log text");
  { const OpenPanel panel(&windows.window(), "mp3", QDir::tempPath()); }
  platform().workers->spawn([] {
    while (!platform().workers->stopping()) {
      platform().clock->sleep(std::chrono::hours(1));
    }
    std::puts("worker ended");
  });
  QTimer::singleShot(50, &windows.window(), [] { QApplication::exit(7); });
}

}  // namespace
}  // namespace fillstation

int main(int argc, char** argv) {
  const bool isSecond = argv[1] == std::string("second");
  const int status = fillstation::runApplication(
      argc, argv, {fillstation::install, fillstation::shown, [=] { return !isSecond; }});
  std::printf("returned %d\n", status);
  return status;
}
