#include <gtest/gtest.h>

#include <QByteArray>
#include <map>
#include <mutex>
#include <thread>

#include "ChildProcess.h"
#include "FaultRig.h"
#include "StdCapture.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

// The whole program over the virtual bench, with a small book and players without a file system, so
// that the look for their volumes always takes as long; and what each thread logged, in its order.
class BenchRunTest : public ::testing::Test {
 protected:
  void start(const std::vector<std::string>& names) {
    std::vector<BenchPlayerPlan> players;
    for (const auto& name : names) {
      players.emplace_back().name = name;
      players.back().blank = true;
    }
    rig.emplace(players);
    ofMain = rig->log.texts();
    rig->log.onText = [this](const std::string& text) {
      const std::scoped_lock guard(lock);
      const auto thread = std::this_thread::get_id();
      (thread == main ? ofMain : ofOthers[thread]).push_back(text);
    };
    rig->folder.write("book/1.mp3", "first");
    rig->folder.write("book/Sub/2 x.mp3", "second");
    rig->folder.write("book/note.txt", "no audio");
  }

  // From Browse to the dismissed summary; returns its text.
  std::string run() {
    rig->browse();
    rig->tickAll();
    rig->ask();
    rig->confirm();
    return rig->readSummary();
  }

  std::string listing(const std::string& name) {
    return runShell("LC_ALL=C.UTF-8 MTOOLSRC=/dev/null mdir -/ -b -i '" + rig->imageOf(name) +
                    "' ::/")
        .out;
  }

  void expectWhatTasksLog(std::size_t tasks) {
    const std::string book = rig->folder.path("book");
    const Texts expected{"Beginning operation.\n",
                         "Beginning format operation.\n",
                         "Beginning copyTask operation.\n",
                         "Copy " + book + "/1.mp3\n",
                         "Copy successful",
                         "Copy " + book + "/Sub\n",
                         "Copy " + book + "/Sub/2 x.mp3\n",
                         "Copy successful",
                         "copy Done!!!\n",
                         "done\n"};
    EXPECT_EQ(ofOthers.size(), tasks);
    for (const auto& [thread, texts] : ofOthers) {
      EXPECT_EQ(texts, expected);
    }
  }

  const std::thread::id main = std::this_thread::get_id();
  std::mutex lock;
  Texts ofMain;
  std::map<std::thread::id, Texts> ofOthers;
  std::optional<faults::FaultRig> rig;
};

TEST_F(BenchRunTest, ARunWithOnePlayerWritesTheseTextsToTheThreeSinks) {
  StdCapture out(stdout);
  StdCapture err(stderr);
  start({"a"});
  EXPECT_EQ(run(), "Process Completed.");
  rig->ejectTicked();
  EXPECT_TRUE(rig->await([&] { return ofMain.back() == "\nDevice Ejected\n"; }));

  const std::string looks = QByteArray("\n no vol name").repeated(200).toStdString();
  EXPECT_EQ(out.text(), "start event" + looks +
                            "(null)\nend event"
                            "start event\nend event"
                            "\n got vol name\n got vol path");
  EXPECT_EQ(err.text(),
            "This device's className is IOUSBDevice\nDevice Name is HS USB FlashDisk\n");
  const std::string address = Url::fromPath(rig->folder.path("book"), true).absoluteString();
  EXPECT_EQ(ofMain,
            Texts({"on update!", "\nLog P Size 67108864\n", "\nLog xxxP Size -1\n", "Is directory",
                   "Is directory", address + "1.mp3", address + "note.txt", address + "Sub/",
                   address + "Sub/2%20x.mp3", "\nLog P Size 67108864\n", "\nLog xxxP Size -1\n",
                   "\nLog P Size 67108864\n", "\nLog xxxP Size 67108864\n",
                   "\nafter task call!!!!\n", "\nDevice /dev/vp0 unmounted\n",
                   "\nDevice /dev/vp0 mounted\n", "\nLog xxxP Size 0\n", "\nDevice Ejected\n"}));
  expectWhatTasksLog(1);
}

TEST_F(BenchRunTest, WithSeveralPlayersEachTaskWritesItsOwnTextsInOrder) {
  StdCapture out(stdout);
  StdCapture err(stderr);
  start({"a", "b", "c"});
  EXPECT_EQ(run(), "Process Completed.");
  expectWhatTasksLog(3);
  out.text();
  for (const char* name : {"a", "b", "c"}) {
    EXPECT_EQ(listing(name), "::/1.mp3\n::/Sub/\n::/Sub/2 x.mp3\n");
  }
}

TEST_F(BenchRunTest, WalksKeepTheWindowAlive) {
  start({});
  bool seen = false;
  QMetaObject::invokeMethod(
      &rig->windows->window(), [&] { seen = true; }, Qt::QueuedConnection);
  // As many short ones as make a long one.
  const auto goOn = [](const std::string&) { return true; };
  for (int turn = 0; turn < 100'000 && !seen; ++turn) {
    platform().fileManager->walk(rig->folder.path("book"), goOn)->next();
  }
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace fillstation::test
