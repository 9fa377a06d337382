#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QEvent>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "PosixFileManager.h"
#include "StdCapture.h"
#include "TestFileManager.h"
#include "TestPlatform.h"
#include "TestUsbBus.h"
#include "UsbUtil.h"
#include "WindowSet.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::test {

using Texts = std::vector<std::string>;

inline Texts operator+(Texts left, const Texts& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The file manager of the machine, without any player's volume.
struct MachineFiles {
  class NoOwner : public VolumeOwner {
    std::shared_ptr<VolumeMedium> mediumOf(int /*rootDescriptor*/, const std::string& /*mountPath*/,
                                           const DiskIdentity& /*owner*/) override {
      return nullptr;
    }
    std::optional<std::string> remount(const DiskIdentity& /*owner*/,
                                       const std::string& /*mountPath*/) override {
      return std::nullopt;
    }
  };

  StopSource stop;
  NoOwner nobody;
  PosixFileManager files{nobody, stop};
};

// The real files of the machine and the volumes of the test.
class WindowFiles : private MachineFiles, public RealSourceFiles {
 public:
  WindowFiles() : RealSourceFiles(files) {}

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    return volumes.openVolume(mountPath, owner);
  }

  TestFileManager volumes;
};

// Counts paint events.
class PaintCount : public QObject {
 public:
  explicit PaintCount(QObject* painted) { painted->installEventFilter(this); }
  bool eventFilter(QObject* /*receiver*/, QEvent* event) override {
    paints += event->type() == QEvent::Paint ? 1 : 0;
    return false;
  }
  int paints = 0;
};

// The whole window over the in-memory platform; Qt's event loop, nested ones included, runs its
// main-thread queue.
class WindowTest : public ::testing::Test {
 protected:
  WindowTest();
  ~WindowTest() override;

  // Shows the window and lets it launch; or one after the other.
  void launch();
  void showWindow();
  void launchQuietly();
  // A player's stick with its disk, as yet unplugged. Its volume is at the mount path (none: not
  // mounted).
  std::shared_ptr<TestUsbDevice> makeStick(const std::string& disk, std::uint32_t handle,
                                           const std::string& label = "SONGS",
                                           std::int64_t size = 7948206080);
  // Plugs it in and waits until it is listed.
  std::shared_ptr<TestUsbDevice> plugStick(const std::string& disk, std::uint32_t handle = 0x10002);
  // A player put into the list directly.
  std::shared_ptr<TRPlayer> addPlayer(const std::string& disk, std::int64_t size = 7948206080,
                                      bool ticked = false);
  // A root put into the file list directly.
  std::shared_ptr<TRFile> addRoot(const std::string& path, std::int64_t size,
                                  bool isDirectory = true, int fileCount = 0);

  // Hands a record to the controller as the watcher does.
  void deliver(const char* disk, bool inserted, const char* label = "SONGS",
               const char* mountPath = "file:///media/SONGS/", std::int64_t size = 4096,
               std::uint32_t handle = 0x10002);

  // Runs the event loop until the predicate holds.
  void runUntil(const std::function<bool()>& done);
  // Runs the event loop until nothing is pending.
  void settle();
  // Waits until this very window has the keyboard.
  static void waitForActive(const QWidget& window);
  // Calls the function from inside the next event loop, until it answers true.
  void whenever(std::function<bool()> act);

  const Ui::MainWindow& ui() const { return windows->window().ui(); }
  const Ui::CredentialsPanel& panelUi() const { return windows->panel().ui(); }
  TRAppDelegate& controller() const { return *windows->delegate(); }
  void click(QWidget* widget) { QTest::mouseClick(widget, Qt::LeftButton); }
  Texts logTexts() const { return ports.log.texts(); }
  Texts listedDisks() const;
  Texts listedPaths() const;
  ElidedTick* tick(int row) const { return ui().viewPlayers->items().at(row)->tick(); }
  // A right click as the desktop sends it; the point is relative to the table's cells.
  void rightClick(const QPoint& at);
  void rightClickRow(int row);
  Texts menuTexts() const;
  // Types the credentials, whether or not their panel is up.
  void enter(const char* userName, const char* password);
  // The alert that is up, null without one.
  static QMessageBox* alert();
  // Clicks the next alert away when it has been looked at; its text is the message then.
  void answerAlert(std::function<void(QMessageBox&)> look = nullptr);

  TestPlatform ports;
  TestUsbBus bus{ports.mainThread};
  WindowFiles files;
  std::unique_ptr<WindowSet> windows;
  int endings = 0;  // calls of endProgram()
  std::string message;

 private:
  void pump();

  QTimer pump_;
};

}  // namespace fillstation::test
