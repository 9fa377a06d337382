#include <gtest/gtest.h>

#include <QTest>
#include <mutex>
#include <thread>

#include "FaultRig.h"
#include "StdCapture.h"
#include "ui_MainWindow.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

// A player without a file system, so that the look for its volume always takes as long.
BenchPlayerPlan blankPlayer() {
  BenchPlayerPlan plan;
  plan.name = "a";
  plan.blank = true;
  return plan;
}

TEST(BenchRunTest, ARunWithOnePlayerWritesTheseTextsToTheThreeSinks) {
  StdCapture out(stdout);
  StdCapture err(stderr);
  faults::FaultRig rig({blankPlayer()});
  rig.folder.write("book/1.mp3", "first");
  rig.folder.write("book/Sub/2 x.mp3", "second");
  rig.folder.write("book/note.txt", "no audio");
  std::mutex lock;
  Texts ofTask;
  Texts ofMain = rig.log.texts();
  rig.log.onText = [&](const std::string& text) {
    const std::scoped_lock guard(lock);
    (rig.mainThread.isHere() ? ofMain : ofTask).push_back(text);
  };
  QTest::mouseClick(rig.windows->window().ui().btnBrowse, Qt::LeftButton);
  rig.tickAll();
  rig.ask();
  rig.confirm();
  EXPECT_EQ(rig.readSummary(), "Process Completed.");
  rig.ejectTicked();
  EXPECT_TRUE(rig.await([&] { return ofMain.back() == "\nDevice Ejected\n"; }));

  const std::string looks = QByteArray("\n no vol name").repeated(200).toStdString();
  EXPECT_EQ(out.text(), "start event" + looks +
                            "(null)\nend event"
                            "start event\nend event"
                            "\n got vol name\n got vol path");
  EXPECT_EQ(err.text(),
            "This device's className is IOUSBDevice\nDevice Name is HS USB FlashDisk\n");
  const std::string book = rig.folder.path("book");
  const std::string address = Url::fromPath(book, true).absoluteString();
  EXPECT_EQ(ofMain,
            Texts({"on update!", "\nLog P Size 67108864\n", "\nLog xxxP Size -1\n", "Is directory",
                   "Is directory", address + "1.mp3", address + "note.txt", address + "Sub/",
                   address + "Sub/2%20x.mp3", "\nLog P Size 67108864\n", "\nLog xxxP Size -1\n",
                   "\nLog P Size 67108864\n", "\nLog xxxP Size 67108864\n",
                   "\nafter task call!!!!\n", "\nDevice /dev/vp0 unmounted\n",
                   "\nDevice /dev/vp0 mounted\n", "\nLog xxxP Size 0\n", "\nDevice Ejected\n"}));
  EXPECT_EQ(ofTask,
            Texts({"Beginning operation.\n", "Beginning format operation.\n",
                   "Beginning copyTask operation.\n", "Copy " + book + "/1.mp3\n",
                   "Copy successful", "Copy " + book + "/Sub\n", "Copy " + book + "/Sub/2 x.mp3\n",
                   "Copy successful", "copy Done!!!\n", "done\n"}));
}

TEST(BenchRunTest, WalksKeepTheWindowAlive) {
  const faults::FaultRig rig({});
  bool seen = false;
  QMetaObject::invokeMethod(
      &rig.windows->window(), [&] { seen = true; }, Qt::QueuedConnection);
  // As many short ones as make a long one.
  for (int turn = 0; turn < 100'000 && !seen; ++turn) {
    platform()
        .fileManager->walk(rig.folder.path(), [](const std::string&) { return true; })
        ->next();
  }
  EXPECT_TRUE(seen);
}

}  // namespace
}  // namespace fillstation::test
