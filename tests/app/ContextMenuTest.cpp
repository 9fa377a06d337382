#include "WindowTest.h"

namespace fillstation::test {
namespace {

class ContextMenuTest : public WindowTest {
 protected:
  ContextMenuTest() {
    launch();
    menu_ = controller().songsTVCContextMenu();
    for (const char* path : {"/a", "/b", "/c"}) {
      addRoot(path, 1024);
    }
    settle();
  }
  ~ContextMenuTest() override { menu_->close(); }

  QMenu& menu() const { return *menu_; }
  // Whether the first item is enabled, apart from being hidden.
  bool isFirstEnabled() const {
    controller().fileMenuDelete()->setVisible(true);
    return controller().fileMenuDelete()->isEnabled();
  }
  std::set<std::size_t> selected() const { return ui().lstFiles->selectedRowIndexes(); }

 private:
  QMenu* menu_ = nullptr;
};

TEST_F(ContextMenuTest, AClickBelowTheLastRowShowsNothing) {
  rightClickRow(0);
  menu().close();
  rightClick({20, ui().lstFiles->viewport()->height() - 5});
  EXPECT_EQ(clickedRow, -1);
  EXPECT_EQ(menuTexts(), Texts{});
  EXPECT_FALSE(isFirstEnabled());
  EXPECT_FALSE(menu().isVisible());
}

TEST_F(ContextMenuTest, AClickOnARowThatIsNotSelectedOffersTwo) {
  rightClickRow(1);
  EXPECT_EQ(clickedRow, 1);
  EXPECT_EQ(menuTexts(), (Texts{"Remove from List", "Remove All"}));
  EXPECT_TRUE(isFirstEnabled());
  EXPECT_TRUE(menu().isVisible());
}

TEST_F(ContextMenuTest, AClickOnTheOnlySelectedRowOffersTwo) {
  ui().lstFiles->selectRow(1);
  rightClickRow(1);
  EXPECT_EQ(menuTexts(), (Texts{"Remove from List", "Remove All"}));
}

TEST_F(ContextMenuTest, AClickInsideAMultipleSelectionOffersThree) {
  ui().lstFiles->selectAll();
  rightClickRow(2);
  EXPECT_EQ(menuTexts(), (Texts{"Remove from List", "Remove Selected", "Remove All"}));
  EXPECT_TRUE(isFirstEnabled());
}

TEST_F(ContextMenuTest, TheItemsAreHiddenAnewAtEachOpening) {
  ui().lstFiles->selectAll();
  rightClickRow(2);
  menu().close();
  ui().lstFiles->clearSelection();
  rightClickRow(2);
  EXPECT_EQ(menuTexts(), (Texts{"Remove from List", "Remove All"}));
}

TEST_F(ContextMenuTest, TheFirstItemIsTheDeleteOfTheClickedRow) {
  EXPECT_EQ(menu().actions().at(0), controller().fileMenuDelete());
  EXPECT_EQ(menu().actions().size(), 3);
}

TEST_F(ContextMenuTest, ARightClickDoesntChangeTheSelection) {
  ui().lstFiles->selectRow(0);
  rightClickRow(2);
  EXPECT_EQ(selected(), std::set<std::size_t>{0});
}

TEST_F(ContextMenuTest, ALeftClickSelects) {
  const QModelIndex index = ui().lstFiles->model()->index(1, 0);
  QTest::mouseClick(ui().lstFiles->viewport(), Qt::LeftButton, {},
                    ui().lstFiles->visualRect(index).center());
  EXPECT_EQ(selected(), std::set<std::size_t>{1});
}

TEST_F(ContextMenuTest, TheKeyboardOpensItForTheCurrentRow) {
  ui().lstFiles->selectRow(1);
  QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(2, 2), QPoint(2, 2));
  QApplication::sendEvent(ui().lstFiles->viewport(), &event);
  EXPECT_EQ(clickedRow, 1);
  const QRect row = ui().lstFiles->visualRect(ui().lstFiles->model()->index(1, 0));
  EXPECT_EQ(menu().pos(), ui().lstFiles->viewport()->mapToGlobal(row.bottomLeft()));
}

TEST_F(ContextMenuTest, TheMouseOpensItAtThePointer) {
  rightClickRow(2);
  const QRect row = ui().lstFiles->visualRect(ui().lstFiles->model()->index(2, 0));
  EXPECT_EQ(menu().pos(), ui().lstFiles->viewport()->mapToGlobal(row.center()));
}

TEST_F(ContextMenuTest, ARowIsForgottenWhenTheListChanges) {
  rightClickRow(2);
  EXPECT_EQ(ui().lstFiles->clickedRow(), 2);
  windows->songs()->removeTRFileAt(0);
  EXPECT_EQ(ui().lstFiles->clickedRow(), -1);
}

TEST_F(ContextMenuTest, AnotherMenuLeavesTheItemsHidden) {
  rightClickRow(1);
  menu().close();
  QMenu other;
  QAction* own = other.addAction(QStringLiteral("own"));
  own->setEnabled(false);
  controller().menuNeedsUpdate(&other);
  EXPECT_EQ(clickedRow, 1);
  EXPECT_EQ(menuTexts(), Texts{});
  EXPECT_FALSE(own->isEnabled());
  EXPECT_TRUE(isFirstEnabled());
}

TEST_F(ContextMenuTest, ADisabledTableOpensNone) {
  controller().enableView(false);
  rightClickRow(1);
  EXPECT_FALSE(menu().isVisible());
  EXPECT_EQ(clickedRow, -1);
}

}  // namespace
}  // namespace fillstation::test
