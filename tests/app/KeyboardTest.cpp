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

TEST_F(KeyboardTest, TabReachesEveryControlInOrder) {
  EXPECT_EQ(tabRound(), (std::vector<QWidget*>{ui().btnAll, ui().btnNone, ui().btnEject,
                                               ui().cmbFileType, ui().btnBrowse, ui().lstFiles,
                                               ui().btnStart, ui().tirellLinkBtn}));
}

TEST_F(KeyboardTest, TabReachesThePlayersInListOrderBeforeTheirButtons) {
  addPlayer("sdb");
  const auto second = addPlayer("sdc");
  addPlayer("sdd");
  windows->players()->removeObject(*second);
  addPlayer("sde");
  const auto round = tabRound();
  ASSERT_EQ(round.size(), 11U);
  EXPECT_EQ(round.at(8), tick(0));
  EXPECT_EQ(round.at(9), tick(1));
  EXPECT_EQ(round.at(10), tick(2));
}

TEST_F(KeyboardTest, MnemonicsPressTheButtons) {
  const auto player = addPlayer("sdb");
  alt(Qt::Key_A);
  runUntil([&] { return player->selected().isTrue(); });
  alt(Qt::Key_N);
  runUntil([&] { return !player->selected().isTrue(); });
  alt(Qt::Key_A);
  runUntil([&] { return player->selected().isTrue(); });
  alt(Qt::Key_E);
  runUntil([&] { return listedDisks().empty(); });
  int browsed = 0;
  controller().setOpenPanel([&](const std::string&) {
    ++browsed;
    return std::nullopt;
  });
  alt(Qt::Key_B);
  runUntil([&] { return browsed == 1; });
  alt(Qt::Key_T);
  EXPECT_EQ(QApplication::focusWidget(), ui().cmbFileType);
  alt(Qt::Key_S);
  runUntil([&] { return windows->panel().isVisible(); });
}

TEST_F(KeyboardTest, ControlOBrowsesAsLongAsTheButtonIsOn) {
  int browsed = 0;
  controller().setOpenPanel([&](const std::string&) {
    ++browsed;
    return std::nullopt;
  });
  QTest::keyClick(&windows->window(), Qt::Key_O, Qt::ControlModifier);
  runUntil([&] { return browsed == 1; });
  controller().enableView(false);
  QTest::keyClick(&windows->window(), Qt::Key_O, Qt::ControlModifier);
  settle();
  EXPECT_EQ(browsed, 1);
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
  ASSERT_EQ(windows->songs()->list()->size(), 1U);
  EXPECT_EQ(windows->songs()->list()->at(0)->path(), "/b");
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(KeyboardTest, DeleteWithoutASelectionDoesNothing) {
  addRoot("/a", 1);
  ports.log.clear();
  QTest::keyClick(ui().lstFiles, Qt::Key_Delete);
  EXPECT_EQ(windows->songs()->list()->size(), 1U);
  EXPECT_EQ(logTexts(), Texts{});
}

TEST_F(KeyboardTest, ControlASelectsEveryRowAndOtherKeysMoveAsUsual) {
  for (const char* path : {"/a", "/b", "/c"}) {
    addRoot(path, 1);
  }
  QTest::keyClick(ui().lstFiles, Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(ui().lstFiles->numberOfSelectedRows(), 3U);
  QTest::mouseClick(ui().lstFiles->viewport(), Qt::LeftButton, {},
                    ui().lstFiles->visualRect(ui().lstFiles->model()->index(1, 0)).center());
  QTest::keyClick(ui().lstFiles, Qt::Key_Down, Qt::ShiftModifier);
  EXPECT_EQ(ui().lstFiles->selectedRowIndexes(), (std::set<std::size_t>{1, 2}));
  QTest::keyClick(ui().lstFiles, Qt::Key_Up);
  EXPECT_EQ(ui().lstFiles->selectedRowIndexes(), std::set<std::size_t>{1});
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

TEST_F(KeyboardTest, TheSmallestWindowHoldsEverythingWithoutCutting) {
  windows->window().resize(1, 1);
  settle();
  EXPECT_EQ(windows->window().size(), QSize(720, 480));
  for (const auto* button : windows->window().findChildren<QPushButton*>()) {
    EXPECT_GE(button->width(), button->fontMetrics().horizontalAdvance(button->text()));
    EXPECT_TRUE(windows->window().rect().contains(
        QRect(button->mapTo(&windows->window(), QPoint()), button->size())));
  }
}

}  // namespace
}  // namespace fillstation::test
