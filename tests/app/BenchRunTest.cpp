#include <gtest/gtest.h>

#include <QApplication>
#include <QByteArray>
#include <QTest>
#include <QTimer>
#include <map>
#include <mutex>
#include <thread>

#include "Bench.h"
#include "BenchFolder.h"
#include "ChildProcess.h"
#include "HurriedClock.h"
#include "ModalSession.h"
#include "QtMainThread.h"
#include "StdCapture.h"
#include "TempFolder.h"
#include "ThreadWorkers.h"
#include "UsbUtil.h"
#include "WindowSet.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

// What each thread wrote, in its order.
class ThreadLog : public SystemLog {
 public:
  void write(std::string_view text) override {
    const std::scoped_lock guard(lock_);
    texts_[std::this_thread::get_id()].emplace_back(text);
  }

  Texts ofMain() const {
    const std::scoped_lock guard(lock_);
    const auto found = texts_.find(main_);
    return found != texts_.end() ? found->second : Texts();
  }

  std::vector<Texts> ofOthers() const {
    const std::scoped_lock guard(lock_);
    std::vector<Texts> all;
    for (const auto& [thread, texts] : texts_) {
      if (thread != main_) {
        all.push_back(texts);
      }
    }
    return all;
  }

 private:
  const std::thread::id main_ = std::this_thread::get_id();
  mutable std::mutex lock_;
  std::map<std::thread::id, Texts> texts_;
};

// The whole program over the virtual bench: everything is real but the players and the time.
class BenchRunTest : public ::testing::Test {
 protected:
  BenchRunTest() {
    // What Qt says of the platform without a screen is not of the program.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    bench.installInto(platform());
    platform().workspace = nullptr;
    platform().endProgram = [this] { stop.request(); };
    windows = std::make_unique<WindowSet>();
    book.write("Book/1.mp3", "first");
    book.write("Book/Sub/2 x.mp3", "second");
    book.write("Book/note.txt", "no audio");
    windows->delegate()->setOpenPanel(
        [this](const std::string&) { return std::vector{Url::fromPath(book.path("Book"), true)}; });
  }

  ~BenchRunTest() override {
    stop.request();
    workers.joinAll();
    // The process keeps the last run's report targets: leave none that belong to this test.
    std::make_shared<TRFileCopyTaskCollection>(std::make_shared<TRFileList>(), "", "")
        ->startAsyncCopyWithCallBack(nullptr, nullptr, nullptr, nullptr);
    workers.joinAll();
    windows.reset();
    session.reset();
    qInstallMessageHandler(nullptr);
  }

  // A player without a file system, so that the look for its volume always takes as long.
  void plugBlank(const std::string& name) {
    BenchPlayerPlan plan;
    plan.name = name;
    plan.blank = true;
    ASSERT_EQ(createPlayer(folder.path(), plan), std::nullopt);
    ASSERT_TRUE(plugPlayer(folder.path(), name));
  }

  void launch() {
    windows->window().show();
    windows->delegate()->applicationDidFinishLaunching();
  }

  void click(QAbstractButton* button) { QTest::mouseClick(button, Qt::LeftButton); }

  // From Browse to the dismissed summary; returns its text.
  std::string run() {
    const auto& ui = windows->window().ui();
    const auto& panel = windows->panel().ui();
    click(ui.btnBrowse);
    click(ui.btnAll);
    click(ui.btnStart);
    QTest::keyClicks(panel.userNameField, "bench");
    QTest::keyClicks(panel.passwordField, "bench");
    std::string summary;
    QTimer person;
    QObject::connect(&person, &QTimer::timeout, [&] {
      for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* const alert = qobject_cast<Alert*>(widget)) {
          summary = alert->text().toStdString();
          click(alert->button(QMessageBox::Ok));
        }
      }
    });
    person.start(5);
    click(panel.btnPassOk);
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return !summary.empty() && ui.btnStart->isEnabled(); }, 60'000));
    return summary;
  }

  std::string listing(const std::string& name) {
    const auto result = ShellCommand::run("LC_ALL=C.UTF-8 MTOOLSRC=/dev/null mdir -/ -b -i '" +
                                          pluggedImage(folder.path(), name) + "' ::/");
    return std::get<ShellCommand::Result>(result).out;
  }

  Texts expectedOfTask() const {
    return {"Beginning operation.\n",
            "Beginning format operation.\n",
            "Beginning copyTask operation.\n",
            "Copy " + book.path("Book/1.mp3") + "\n",
            "Copy successful",
            "Copy " + book.path("Book/Sub") + "\n",
            "Copy " + book.path("Book/Sub/2 x.mp3") + "\n",
            "Copy successful",
            "copy Done!!!\n",
            "done\n"};
  }

  // Removed last: the workers write there.
  TempFolder folder;
  TempFolder book;
  StopSource stop;
  QtMainThread mainThread{stop};
  HurriedClock clock{mainThread};
  ThreadLog log;
  ThreadWorkers workers{stop};
  Bench bench{folder.path(), BenchServices{stop, mainThread, clock, workers, log}};
  std::unique_ptr<WindowSet> windows;
};

TEST_F(BenchRunTest, ARunWithOnePlayerWritesTheseTextsToTheThreeSinks) {
  plugBlank("a");
  StdCapture out(stdout);
  StdCapture err(stderr);
  launch();
  EXPECT_EQ(run(), "Process Completed.");
  click(windows->window().ui().btnEject);
  const auto ejected = [&] { return log.ofMain().back() == "\nDevice Ejected\n"; };
  EXPECT_TRUE(QTest::qWaitFor(ejected, 60'000));

  const std::string looks = QByteArray("\n no vol name").repeated(200).toStdString();
  EXPECT_EQ(out.text(), "start event" + looks +
                            "(null)\nend event"
                            "start event\nend event"
                            "\n got vol name\n got vol path");
  EXPECT_EQ(err.text(),
            "This device's className is IOUSBDevice\nDevice Name is HS USB FlashDisk\n");
  const std::string address = Url::fromPath(book.path("Book"), true).absoluteString();
  EXPECT_EQ(log.ofMain(),
            Texts({"on update!", "\nLog P Size 67108864\n", "\nLog xxxP Size -1\n", "Is directory",
                   "Is directory", address + "1.mp3", address + "note.txt", address + "Sub/",
                   address + "Sub/2%20x.mp3", "\nLog P Size 67108864\n", "\nLog xxxP Size -1\n",
                   "\nLog P Size 67108864\n", "\nLog xxxP Size 67108864\n",
                   "\nafter task call!!!!\n", "\nDevice /dev/vp0 unmounted\n",
                   "\nDevice /dev/vp0 mounted\n", "\nLog xxxP Size 0\n", "\nDevice Ejected\n"}));
  EXPECT_EQ(log.ofOthers(), std::vector<Texts>{expectedOfTask()});
}

TEST_F(BenchRunTest, WithSeveralPlayersEachTaskWritesItsOwnTextsInOrder) {
  plugBlank("a");
  plugBlank("b");
  plugBlank("c");
  StdCapture out(stdout);
  StdCapture err(stderr);
  launch();
  EXPECT_EQ(run(), "Process Completed.");
  EXPECT_EQ(log.ofOthers(),
            std::vector<Texts>({expectedOfTask(), expectedOfTask(), expectedOfTask()}));
  out.text();
  for (const char* name : {"a", "b", "c"}) {
    EXPECT_EQ(listing(name), "::/1.mp3\n::/Sub/\n::/Sub/2 x.mp3\n");
  }
}

TEST_F(BenchRunTest, WalksKeepTheWindowAlive) {
  bool seen = false;
  QMetaObject::invokeMethod(
      &windows->window(), [&] { seen = true; }, Qt::QueuedConnection);
  // As many short ones as make a long one.
  for (int turn = 0; turn < 100'000 && !seen; ++turn) {
    bench.fileManager().walk(book.path(), [](const std::string&) { return true; })->next();
  }
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace fillstation::test
