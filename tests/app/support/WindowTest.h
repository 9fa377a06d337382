#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ElidedTick.h"
#include "PlayerItem.h"
#include "StdCapture.h"
#include "TestPlatform.h"
#include "TestUsbBus.h"
#include "UsbUtil.h"
#include "WindowFiles.h"
#include "WindowSet.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation::test {

// The whole window over the in-memory platform, whose main-thread queue is worked off by Qt's event
// loop, nested ones included.
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
                                  bool isDirectory = true);

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
  std::vector<std::string> logTexts() const { return ports.log.texts(); }
  std::vector<std::string> listedDisks() const;
  ElidedTick* tick(int row) const { return ui().viewPlayers->items().at(row)->tick(); }
  // A right click as the desktop sends it; the point is relative to the table's cells.
  void rightClick(const QPoint& at);
  void rightClickRow(int row);
  std::vector<std::string> menuTexts() const;
  // The alert that is up, null without one.
  static QMessageBox* alert();

  TestPlatform ports;
  TestUsbBus bus{ports.mainThread};
  WindowFiles files;
  std::unique_ptr<WindowSet> windows;
  int endings = 0;  // calls of endProgram()

 private:
  void pump();

  QTimer pump_;
};

using Texts = std::vector<std::string>;

inline Texts operator+(Texts left, const Texts& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

}  // namespace fillstation::test
