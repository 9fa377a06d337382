#include "Alert.h"
#include "Contrast.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

// The focus as a person sees it, in light and dark colours.
class VisibleFocusTest : public WindowTest, public ::testing::WithParamInterface<bool> {
 protected:
  VisibleFocusTest() {
    QApplication::setPalette(GetParam() ? QPalette(QColor(66, 66, 66), QColor(53, 53, 53))
                                        : QPalette(QColor(239, 239, 239)));
    QApplication::setCursorFlashTime(0);  // a cursor that stands still
    launch();
  }
  ~VisibleFocusTest() override {
    QApplication::setPalette(before_);
    QApplication::setCursorFlashTime(flashTime_);
  }

  // The controls that Tab reaches in the window.
  static QList<QWidget*> controls(const QWidget& window) {
    QList<QWidget*> found;
    for (auto* widget : window.findChildren<QWidget*>()) {
      if ((widget->focusPolicy() & Qt::TabFocus) != 0 && widget->isVisible() &&
          widget->isEnabled() && widget->focusProxy() == nullptr) {
        found.append(widget);
      }
    }
    return found;
  }

  // What is painted of the control and just around it, with the focus given there or elsewhere.
  QImage painted(QWidget& control, QWidget& focus) {
    QWidget& window = *control.window();
    focus.setFocus();
    settle();
    const QRect place(control.mapTo(&window, QPoint()), control.size());
    return window.grab(place.adjusted(-3, -3, 3, 3)).toImage();
  }

  void expectAllVisible(QWidget& window) {
    const auto all = controls(window);
    EXPECT_FALSE(all.isEmpty());
    for (QWidget* control : all) {
      const QImage without = painted(*control, window);
      EXPECT_NE(painted(*control, *control), without)
          << control->metaObject()->className() << ' ' << control->objectName().toStdString();
    }
  }

 private:
  const QPalette before_ = QApplication::palette();
  const int flashTime_ = QApplication::cursorFlashTime();
};

INSTANTIATE_TEST_SUITE_P(Colours, VisibleFocusTest, ::testing::Bool(),
                         [](const auto& colours) { return colours.param ? "Dark" : "Light"; });

TEST_P(VisibleFocusTest, InTheWindowWithoutPlayersAndFiles) { expectAllVisible(windows->window()); }

TEST_P(VisibleFocusTest, InTheWindowWithPlayersAndFiles) {
  addPlayer("sdb");
  addPlayer("sdc");
  addRoot("/a", 1);
  expectAllVisible(windows->window());
}

TEST_P(VisibleFocusTest, InTheWindowDuringARun) {
  addPlayer("sdb");
  controller().btnStartClick(nullptr);
  windows->panel().hide();
  windows->window().activateWindow();
  waitForActive(windows->window());
  EXPECT_EQ(QApplication::focusWidget(), ui().pbProgressBar);
  EXPECT_TRUE(controls(windows->window()).contains(ui().pbProgressBar));
  expectAllVisible(windows->window());
}

TEST_P(VisibleFocusTest, InTheCredentialsPanel) {
  click(ui().btnStart);
  waitForActive(windows->panel());
  expectAllVisible(windows->panel());
}

TEST_P(VisibleFocusTest, InTheOpenPanel) {
  OpenPanel panel(&windows->window(), "mp3", QDir::tempPath());
  panel.show();
  waitForActive(panel);
  expectAllVisible(panel);
}

TEST_P(VisibleFocusTest, InAnAlert) {
  Alert alert(&windows->window(), QStringLiteral("Text"));
  alert.show();
  waitForActive(alert);
  expectAllVisible(alert);
}

TEST_P(VisibleFocusTest, WhateverTheDesktopHighlightsWith) {
  QPalette pale = QApplication::palette();
  pale.setColor(QPalette::Highlight, pale.color(QPalette::Window));
  QApplication::setPalette(pale);
  const QImage ring = painted(*ui().btnAll, *ui().btnAll);
  // The grab begins three points beyond the control, and the ring two.
  const QColor color = ring.pixelColor(ring.width() / 2, 2);
  EXPECT_GE(contrast(color, pale.color(QPalette::Window)), kVisibleOutline)
      << color.name().toStdString();
}

// The button fills the box that it lies in.
TEST_P(VisibleFocusTest, AllAroundAControlThatHasNoRoomAroundIt) {
  Alert alert(&windows->window(), QStringLiteral("Text"));
  alert.show();
  waitForActive(alert);
  QWidget& button = *alert.button(QMessageBox::Ok);
  const QImage with = painted(button, button);
  const QImage without = painted(button, alert);
  const int right = with.width() - 1;
  const int bottom = with.height() - 1;
  for (const QPoint edge : {QPoint(2, bottom / 2), QPoint(right - 2, bottom / 2),
                            QPoint(right / 2, 2), QPoint(right / 2, bottom - 2)}) {
    EXPECT_NE(with.pixelColor(edge), without.pixelColor(edge)) << edge.x() << ' ' << edge.y();
  }
}

using FocusTest = WindowTest;

TEST_F(FocusTest, IsOnAControlFromTheBeginning) {
  launch();
  EXPECT_EQ(QApplication::focusWidget(), ui().btnAll);
}

TEST_F(FocusTest, OfAPlayerThatLeavesGoesOn) {
  launch();
  const auto first = addPlayer("sdb");
  const auto second = addPlayer("sdc");
  tick(0)->setFocus();
  windows->players()->removeObject(*first);
  settle();
  EXPECT_EQ(QApplication::focusWidget(), tick(0));
  windows->players()->removeObject(*second);
  settle();
  EXPECT_EQ(QApplication::focusWidget(), ui().btnAll);
}

}  // namespace
}  // namespace fillstation::test
