#include <QWindow>

#include "QtMainThread.h"
#include "TempFolder.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

// Chooses a folder whose walk takes so long, by its own clock, that each entry is a pause.
class LongWalkTest : public WindowTest {
 protected:
  LongWalkTest() {
    platform().fileManager = &walkedFiles;
    for (const char* name : {"1.mp3", "2.mp3", "3.mp3", "4.mp3"}) {
      album.write(name, "x");
    }
    launch();
  }

  // Chooses the folder and does this in the middle of its walk.
  void choose(const std::function<void()>& act) {
    controller().setOpenPanel([this, act](const std::string&) {
      if (++choices > 1) {
        return std::vector<Url>();
      }
      QMetaObject::invokeMethod(
          &windows->window(),
          [this, act] {
            EXPECT_TRUE(windows->songs()->list()->empty());
            act();
          },
          Qt::QueuedConnection);
      return std::vector{Url::fromPath(album.path(), true)};
    });
    click(ui().btnBrowse);
    EXPECT_EQ(choices, 1);
    EXPECT_EQ(windows->songs()->list()->size(), 1U);
  }
  QWindow* screenWindow() const { return windows->window().windowHandle(); }
  QPoint centerOf(const QWidget* widget) const {
    return widget->mapTo(&windows->window(), widget->rect().center());
  }

  TempFolder album;
  StopSource stop;
  QtMainThread mainThread{stop, std::chrono::milliseconds(0)};
  MachineFiles::NoOwner nobody;
  PosixFileManager walkedFiles{nobody, stop, [this] { mainThread.keepWindowAlive(); }};
  int choices = 0;
};

TEST_F(LongWalkTest, TheWindowIsRepaintedUnderAWaitCursor) {
  settle();
  const PaintCount count(ui().btnStart);
  choose([&] {
    ASSERT_NE(QGuiApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QGuiApplication::overrideCursor()->shape(), Qt::WaitCursor);
    ui().btnStart->update();
  });
  EXPECT_GT(count.paints, 0);
  settle();
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST_F(LongWalkTest, TheWindowObeysClosing) {
  choose([this] {
    EXPECT_EQ(endings, 0);
    QCoreApplication::postEvent(screenWindow(), new QCloseEvent);
  });
  EXPECT_EQ(endings, 1);
}

TEST_F(LongWalkTest, ClicksKeysAndShortcutsWait) {
  addPlayer("sdb");
  const QString type = ui().cmbFileType->currentText();
  choose([&] {
    ui().cmbFileType->setFocus();
    QTest::keyClick(screenWindow(), Qt::Key_X);
    QTest::mouseClick(screenWindow(), Qt::LeftButton, {}, centerOf(ui().btnAll));
    QTest::keyClick(screenWindow(), Qt::Key_O, Qt::ControlModifier);
    QWindow closed;
    QTest::keyClick(&closed, Qt::Key_X);
  });
  EXPECT_FALSE(tick(0)->isChecked());
  EXPECT_EQ(ui().cmbFileType->currentText(), type);
  settle();
  EXPECT_EQ(choices, 2);
  EXPECT_TRUE(tick(0)->isChecked());
  EXPECT_NE(ui().cmbFileType->currentText(), type);
}

TEST_F(LongWalkTest, ADragOntoTheWindowIsRefused) {
  QMimeData things;
  things.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp"))});
  const QPoint place = centerOf(ui().lstFiles);
  const auto isTaken = [&] {
    QDragEnterEvent enter(place, Qt::CopyAction, &things, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(screenWindow(), &enter);
    return enter.isAccepted();
  };
  // What has been taken so far.
  const auto goesOn = [&](QDropEvent&& event) {
    event.accept();
    QCoreApplication::sendEvent(screenWindow(), &event);
    return event.isAccepted();
  };
  EXPECT_TRUE(isTaken());
  choose([&] {
    EXPECT_FALSE(
        goesOn(QDragMoveEvent(place, Qt::CopyAction, &things, Qt::LeftButton, Qt::NoModifier)));
    EXPECT_FALSE(
        goesOn(QDropEvent(place, Qt::CopyAction, &things, Qt::LeftButton, Qt::NoModifier)));
    EXPECT_FALSE(isTaken());
  });
  settle();
  EXPECT_TRUE(isTaken());
}

TEST_F(LongWalkTest, CompletionsAndTimersWait) {
  bool completed = false;
  bool timedOut = false;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&] { timedOut = true; });
  choose([&] {
    mainThread.post([&] { completed = true; });
    timer.start(0);
  });
  EXPECT_FALSE(completed || timedOut);
  runUntil([&] { return completed && timedOut; });
}

TEST_F(LongWalkTest, AShortWalkIsNotInterrupted) {
  QtMainThread hurried(stop, std::chrono::hours(1));
  PosixFileManager quick(nobody, stop, [&] { hurried.keepWindowAlive(); });
  platform().fileManager = &quick;
  bool acted = false;
  controller().setOpenPanel([&](const std::string&) {
    QMetaObject::invokeMethod(
        &windows->window(), [&] { acted = true; }, Qt::QueuedConnection);
    return std::vector{Url::fromPath(album.path(), true)};
  });
  click(ui().btnBrowse);
  EXPECT_FALSE(acted);
  EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
  settle();
}

}  // namespace
}  // namespace fillstation::test
