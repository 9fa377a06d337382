#include "ModalSession.h"
#include "WindowStyle.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class KeyboardTest : public WindowTest {
 protected:
  KeyboardTest() { launch(); }

  // The widgets that Tab reaches, from the first one round to it again.
  std::vector<QWidget*> tabRound() {
    std::vector<QWidget*> round;
    QWidget* const first = ui().btnAll;
    first->setFocus();
    do {
      round.push_back(QApplication::focusWidget());
      QTest::keyClick(round.back(), Qt::Key_Tab);
    } while (QApplication::focusWidget() != first && round.size() < 50);
    return round;
  }
  void alt(Qt::Key key) { QTest::keyClick(&windows->window(), key, Qt::AltModifier); }
};

TEST_F(KeyboardTest, TabReachesEveryControlInOrderAndThePlayersInThatOfTheList) {
  std::vector<QWidget*> order{ui().btnAll,    ui().btnNone,  ui().btnEject, ui().cmbFileType,
                              ui().btnBrowse, ui().lstFiles, ui().btnStart, ui().tirellLinkBtn};
  EXPECT_EQ(tabRound(), order);
  addPlayer("sdb");
  const auto second = addPlayer("sdc");
  addPlayer("sdd");
  windows->players()->removeObject(*second);
  addPlayer("sde");
  for (const int row : {0, 1, 2}) {
    order.push_back(tick(row));
  }
  EXPECT_EQ(tabRound(), order);
}

TEST_F(KeyboardTest, MnemonicsAndControlOPressTheButtons) {
  const auto player = addPlayer("sdb");
  alt(Qt::Key_A);
  runUntil([&] { return player->selected().isTrue(); });
  alt(Qt::Key_N);
  runUntil([&] { return !player->selected().isTrue(); });
  player->setSelected(Number(1));
  alt(Qt::Key_E);
  runUntil([&] { return listedDisks().empty(); });
  int browsed = 0;
  controller().setOpenPanel([&](const std::string&) {
    ++browsed;
    return std::nullopt;
  });
  alt(Qt::Key_B);
  runUntil([&] { return browsed == 1; });
  QTest::keyClick(&windows->window(), Qt::Key_O, Qt::ControlModifier);
  runUntil([&] { return browsed == 2; });
  alt(Qt::Key_T);
  EXPECT_EQ(QApplication::focusWidget(), ui().cmbFileType);
  alt(Qt::Key_S);
  runUntil([&] { return windows->panel().isVisible(); });
  windows->panel().hide();  // the button stays off
  windows->window().activateWindow();
  waitForActive(windows->window());
  QTest::keyClick(&windows->window(), Qt::Key_O, Qt::ControlModifier);
  settle();
  EXPECT_EQ(browsed, 2);
}

TEST_F(KeyboardTest, F1OpensTheHandbookDuringARunToo) {
  const std::string address = Url::fromPath(kHandbook, false).absoluteString();
  EXPECT_TRUE(address.starts_with("file:///")) << address;
  EXPECT_TRUE(address.ends_with("/handbook.html")) << address;
  for (const bool enabled : {true, false}) {
    controller().enableView(enabled);
    ports.workspace.opened.clear();
    QTest::keyClick(&windows->window(), Qt::Key_F1);
    runUntil([&] { return !ports.workspace.opened.empty(); });
    EXPECT_EQ(ports.workspace.opened, Texts{address});
  }
}

TEST_F(KeyboardTest, DeleteRemovesTheSelectedRows) {
  for (const char* path : {"/a", "/b", "/c"}) {
    addRoot(path, 1);
  }
  ui().lstFiles->selectRow(0);
  ui().lstFiles->selectionModel()->select(ui().lstFiles->model()->index(2, 0),
                                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
  ports.log.clear();
  QTest::keyClick(ui().lstFiles, Qt::Key_Delete);
  QTest::keyClick(ui().lstFiles, Qt::Key_Delete);  // now there is none
  EXPECT_EQ(listedPaths(), Texts{"/b"});
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(KeyboardTest, ThePanelsMnemonicsReachItsFields) {
  click(ui().btnStart);
  waitForActive(windows->panel());
  EXPECT_EQ(QApplication::focusWidget(), panelUi().userNameField);
  QTest::keyClick(&windows->panel(), Qt::Key_P, Qt::AltModifier);
  EXPECT_EQ(QApplication::focusWidget(), panelUi().passwordField);
  QTest::keyClick(&windows->panel(), Qt::Key_U, Qt::AltModifier);
  EXPECT_EQ(QApplication::focusWidget(), panelUi().userNameField);
  QTest::keyClick(panelUi().userNameField, Qt::Key_Tab);
  QTest::keyClick(panelUi().passwordField, Qt::Key_Tab);
  EXPECT_EQ(QApplication::focusWidget(), panelUi().btnPassOk);
  QTest::keyClick(panelUi().btnPassOk, Qt::Key_Tab);
  EXPECT_EQ(QApplication::focusWidget(), panelUi().btnPassCancel);
  EXPECT_TRUE(panelUi().btnPassOk->isDefault());
  QTest::keyClick(&windows->panel(), Qt::Key_C, Qt::AltModifier);
  runUntil([&] { return !windows->panel().isVisible(); });
}

// The focus as a person sees it, in light and dark colours.
class VisibleFocusTest : public WindowTest, public ::testing::WithParamInterface<bool> {
 protected:
  VisibleFocusTest() {
    QApplication::setPalette(GetParam() ? QPalette(QColor(66, 66, 66), QColor(53, 53, 53))
                                        : QPalette(QColor(239, 239, 239)));
    QApplication::setCursorFlashTime(0);  // a cursor that doesn't blink
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

  // The picture of the control and its surroundings, with the focus there or elsewhere.
  QImage painted(QWidget& control, QWidget& focus) {
    QWidget& window = *control.window();
    focus.setFocus();
    settle();
    // Around the whole row of a player.
    QWidget* const row = qobject_cast<PlayerItem*>(control.parentWidget());
    QWidget& ringed = row != nullptr ? *row : control;
    const QRect place(ringed.mapTo(&window, QPoint()), ringed.size());
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

TEST_P(VisibleFocusTest, InTheWindowWithoutAndWithPlayersAndFiles) {
  expectAllVisible(windows->window());
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

TEST_P(VisibleFocusTest, InEveryDialog) {
  OpenPanel panel(&windows->window(), "mp3", QDir::tempPath());
  Alert alert(&windows->window(), QStringLiteral("Text"));
  for (QDialog* dialog : std::initializer_list<QDialog*>{&windows->panel(), &panel, &alert}) {
    dialog->show();
    waitForActive(*dialog);
    expectAllVisible(*dialog);
    dialog->hide();
  }
}

TEST_P(VisibleFocusTest, WithEveryHighlightColourOfTheDesktop) {
  QPalette pale = QApplication::palette();
  pale.setColor(QPalette::Highlight, pale.color(QPalette::Window));
  QApplication::setPalette(pale);
  const QImage ring = painted(*ui().btnAll, *ui().btnAll);
  // The grab begins three points beyond the control, and the ring two.
  const QColor color = ring.pixelColor(ring.width() / 2, 2);
  EXPECT_GE(contrast(color, pale.color(QPalette::Window)), kVisibleOutline)
      << color.name().toStdString();
}

// The button fills its box.
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
  EXPECT_EQ(QApplication::focusWidget(), ui().btnBrowse);
}

TEST_F(FocusTest, OfAPlayerThatLeavesMovesToTheNextControl) {
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
