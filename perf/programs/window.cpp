// perf_window ours FOLDER|bare|text: the program's window without any player (over the empty bench
// folder), a bare window of the same size, or that with a line of text. Prints a line and leaves
// when the window has been painted for the first time.

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QTimer>
#include <QWidget>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "AppRunner.h"
#include "Bench.h"
#include "WindowSet.h"

namespace {

using namespace fillstation;

// Leaves when the loop comes back from the first painting of the window.
class FirstPaint : public QObject {
 public:
  explicit FirstPaint(QWidget& window) : QObject(&window) { window.installEventFilter(this); }

  bool eventFilter(QObject* /*receiver*/, QEvent* event) override {
    if (event->type() == QEvent::Paint) {
      QTimer::singleShot(0, this, [] {
        std::puts("painted");
        std::fflush(stdout);
        std::_Exit(0);
      });
    }
    return false;
  }
};

int runBare(int& argc, char** argv, bool withText) {
  const QApplication application(argc, argv);
  QWidget window;
  window.resize(1000, 620);
  if (withText) {
    new QLabel(QStringLiteral("Fillstation"), &window);
  }
  new FirstPaint(window);
  window.show();
  return QApplication::exec();
}

int runOurs(int& argc, char** argv, const char* folder) {
  BackEnd backEnd;
  backEnd.install = [folder](Platform& ports, StopSource& stop, QtMainThread& mainThread) {
    const BenchServices services{stop, mainThread, *ports.clock, *ports.workers, *ports.systemLog};
    auto bench = std::make_shared<Bench>(folder, services);
    bench->installInto(ports);
    return bench;
  };
  backEnd.shown = [](WindowSet& windows) { new FirstPaint(windows.window()); };
  return runApplication(argc, argv, backEnd);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string_view(argv[1]) == "ours") {
    return runOurs(argc, argv, argv[2]);
  }
  return runBare(argc, argv, argc == 2 && std::string_view(argv[1]) == "text");
}
