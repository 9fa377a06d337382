#include "AppRunner.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <QApplication>
#include <QProxyStyle>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>

#include "OpenPanel.h"
#include "StdCapture.h"
#include "TempFolder.h"
#include "TestUsbBus.h"
#include "WindowSet.h"

namespace fillstation::test {
namespace {

// The program itself, with a temporary home folder; records the events in their order.
class AppRunnerTest : public ::testing::Test {
 protected:
  AppRunnerTest() {
    ::setenv("HOME", home.path().c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    ::unsetenv("XDG_CONFIG_HOME");
  }
  ~AppRunnerTest() override { platform() = Platform(); }

  int run() {
    std::string name = "fillstation";
    char* words[] = {name.data(), nullptr};
    int count = 1;
    return runApplication(count, words, backEnd);
  }
  // Any thread.
  void say(const std::string& what) {
    const std::scoped_lock guard(lock);
    said.push_back(what);
  }
  void sayWhere(const std::string& what) {
    const bool inLoop = QThread::currentThread()->loopLevel() > 0;
    say(what + (shown != nullptr && shown->isVisible() ? ", visible" : "") +
        (inLoop ? ", in the loop" : ""));
  }

  TempFolder home;
  BackEnd backEnd;
  const QWidget* shown = nullptr;
  std::mutex lock;
  std::vector<std::string> said;
};

// A bus that can't be watched.
class SilentBus : public TestUsbBus {
 public:
  explicit SilentBus(std::function<void()> onOpen)
      : TestUsbBus(nobody_), onOpen_(std::move(onOpen)) {}
  bool open(std::string_view /*className*/) override {
    onOpen_();
    return false;
  }

 private:
  TestMainThread nobody_;
  const std::function<void()> onOpen_;
};

TEST_F(AppRunnerTest, ASecondInstanceBeginsNothing) {
  backEnd.claim = [] { return false; };
  EXPECT_EQ(run(), 0);
}

// The system log is standard error, and the home folder stays as it was.
TEST_F(AppRunnerTest, AnEndOfTheMainLoopWaitsForTheWorkersAndReturnsItsStatus) {
  std::optional<StopSource::Callback> told;
  backEnd.install = [&](Platform& ports, StopSource& stop, QtMainThread& mainThread) {
    EXPECT_TRUE(mainThread.isHere());
    EXPECT_EQ(::prctl(PR_GET_DUMPABLE), 0);
    sayWhere("install");
    told.emplace(stop.token(), [this] { say("stop"); });
    auto bus = std::make_shared<SilentBus>([this] { sayWhere("registering"); });
    ports.usbBus = bus.get();
    ports.createDiskSession = [] { return std::shared_ptr<DiskSession>(); };
    return std::shared_ptr<void>(bus.get(), [this, bus](void*) { say("back end gone"); });
  };
  backEnd.shown = [this](WindowSet& windows) {
    shown = &windows.window();
    sayWhere("shown");
    EXPECT_EQ(QApplication::applicationName(), QStringLiteral("fillstation"));
    EXPECT_EQ(QApplication::applicationDisplayName(), QStringLiteral("Fillstation"));
    EXPECT_EQ(QApplication::desktopFileName(), QStringLiteral("fillstation"));
    EXPECT_EQ(qobject_cast<QProxyStyle*>(QApplication::style())->baseStyle()->name(),
              QStringLiteral("fusion"));
    EXPECT_FALSE(QApplication::quitOnLastWindowClosed());
    logText("a log text");
    { const OpenPanel panel(&windows.window(), "mp3", QDir::tempPath()); }
    platform().workers->spawn([this] {
      while (!platform().workers->stopping()) {
        platform().clock->sleep(std::chrono::hours(1));
      }
      say("worker ended");
    });
    QTimer::singleShot(50, shown, [this] {
      EXPECT_FALSE(shown->windowIcon().isNull());
      QApplication::exit(7);
    });
  };
  StdCapture err(stderr);
  EXPECT_EQ(run(), 7);
  EXPECT_NE(err.text().find("a log text\n"), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_empty(home.path()));
  ASSERT_EQ(said.size(), 6U);
  // The stop wakes the worker and other listeners, in no order.
  std::sort(said.begin() + 3, said.begin() + 5);
  EXPECT_EQ(said, (std::vector<std::string>{"install", "shown, visible",
                                            "registering, visible, in the loop", "stop",
                                            "worker ended", "back end gone"}));
}

}  // namespace
}  // namespace fillstation::test
