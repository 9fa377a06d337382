#include <QFileDialog>
#include <QWindow>

#include "WindowTest.h"

namespace fillstation::test {
namespace {

class ClosingTest : public WindowTest {
 protected:
  ClosingTest() { launch(); }

  // As the desktop closes a window.
  void closeWindow() {
    visibleAtTheEnd = -1;
    platform().endProgram = [this] {
      ++endings;
      visibleAtTheEnd = 0;
      for (const QWidget* window : QApplication::topLevelWidgets()) {
        visibleAtTheEnd += window->isVisible() ? 1 : 0;
      }
      ports.end();
    };
    windows->window().windowHandle()->close();
    runUntil([this] { return visibleAtTheEnd >= 0; });
  }
  // Closes it as soon as there is such a dialog.
  template <class Dialog>
  void closeUnder() {
    whenever([this] {
      const auto* dialog = windows->window().findChild<Dialog*>();
      if (dialog == nullptr || !dialog->isVisible()) {
        return false;
      }
      closeWindow();
      return true;
    });
  }
  void expectEnded() {
    EXPECT_EQ(endings, 1);
    EXPECT_EQ(visibleAtTheEnd, 0);
    EXPECT_FALSE(windows->window().isVisible());
  }

  int visibleAtTheEnd = -1;
};

TEST_F(ClosingTest, AMinimisedWindowComesBackToTheFront) {
  windows->window().showMinimized();
  windows->window().comeToFront();
  EXPECT_FALSE(windows->window().isMinimized());
  waitForActive(windows->window());
}

TEST_F(ClosingTest, TheDialogThatIsOpenComesToTheFrontWithItsWindow) {
  click(ui().btnStart);
  QWidget other;
  other.show();
  other.activateWindow();
  waitForActive(other);
  windows->window().comeToFront();
  waitForActive(windows->panel());
}

TEST_F(ClosingTest, WhileThePanelIsOpen) {
  click(ui().btnStart);
  closeWindow();
  expectEnded();
  EXPECT_TRUE(logTexts().empty());
}

TEST_F(ClosingTest, DuringAWaitForAVolume) {
  auto stick = makeStick("sdb", 0x10002);
  ports.disks.byName["sdb"]->describe = [](std::size_t) {
    return describedAs(std::nullopt, std::nullopt);
  };
  ports.clock.onSleep = [this](std::size_t number) {
    if (number == 1) {
      closeWindow();
    }
  };
  {
    const StdCapture out(stdout);
    bus.plug(stick);
    runUntil([&] { return endings == 1; });
  }
  expectEnded();
  // The next pause returned at once and ended the lookup.
  EXPECT_EQ(ports.clock.sleeps().size(), 2U);
}

TEST_F(ClosingTest, UnderAnAlert) {
  click(ui().btnStart);
  closeUnder<QMessageBox>();
  click(panelUi().btnPassOk);
  expectEnded();
  EXPECT_EQ(alert(), nullptr);
}

TEST_F(ClosingTest, UnderTheOpenPanel) {
  closeUnder<QFileDialog>();
  click(ui().btnBrowse);
  expectEnded();
}

}  // namespace
}  // namespace fillstation::test
