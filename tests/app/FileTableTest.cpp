#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QStyledItemDelegate>
#include <tuple>

#include "DisplayText.h"
#include "WindowStyle.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class FileTableTest : public WindowTest {
 protected:
  FileTableTest() { launch(); }

  FileTable& table() const { return *ui().lstFiles; }
  QAbstractItemModel& model() const { return *table().model(); }
  QVariant cell(int row, int column, int role = Qt::DisplayRole) const {
    return model().index(row, column).data(role);
  }
  // The tool tip without the places where its lines may break.
  QString tip(int row, int column) const {
    return cell(row, column, Qt::ToolTipRole).toString().remove(QLatin1Char('\n'));
  }
  QLabel* hint() const { return table().viewport()->findChild<QLabel*>(); }
};

TEST_F(FileTableTest, TheModelKeepsTheRulesOfModels) {
  const QAbstractItemModelTester tester(&model(),
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  addRoot("/a", 1);
  addRoot("/b", 2, false);
  windows->songs()->removeTRFileAt(0);
  windows->songs()->removeAllTRFiles();
  EXPECT_EQ(model().rowCount(), 0);
}

TEST_F(FileTableTest, ARowShowsNameSizeAndPathInTheOrderOfTheList) {
  addRoot("/music/b", 4404020);
  addRoot("/a", 1);
  ASSERT_EQ(model().rowCount(), 2);
  ASSERT_EQ(model().columnCount(), 3);
  EXPECT_EQ(cell(0, 0), QStringLiteral("b"));
  EXPECT_EQ(cell(0, 1), QStringLiteral("4.2 MB"));
  EXPECT_EQ(cell(0, 2), QStringLiteral("/music/b"));
  EXPECT_EQ(cell(1, 2), QStringLiteral("/a"));
  EXPECT_FALSE(cell(0, 0, Qt::DecorationRole).isValid());
  EXPECT_EQ(model().rowCount(model().index(0, 0)), 0);
  EXPECT_EQ(model().columnCount(model().index(0, 0)), 0);
}

TEST_F(FileTableTest, AnAbsentFieldShowsEmpty) {
  auto root = std::make_shared<TRFile>();
  root->setName(std::nullopt);
  windows->songs()->addTRFile(root);
  EXPECT_EQ(cell(0, 0), QString());
  EXPECT_EQ(cell(0, 1), QString());
  EXPECT_EQ(cell(0, 2), QStringLiteral("Empty"));
}

TEST_F(FileTableTest, TheHeadersNameTheColumnsAndSizesAreRightAligned) {
  addRoot("/a", 1);
  const QHeaderView& header = *table().horizontalHeader();
  const int margin = header.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &header);
  for (const auto& [column, title, side] : {std::tuple(0, "Name", Qt::AlignLeft),
                                            {1, "Size", Qt::AlignRight},
                                            {2, "Path", Qt::AlignLeft}}) {
    EXPECT_EQ(model().headerData(column, Qt::Horizontal), QString::fromLatin1(title));
    const auto wanted = QVariant::fromValue<Qt::Alignment>(side | Qt::AlignVCenter);
    EXPECT_EQ(cell(0, column, Qt::TextAlignmentRole), wanted);
    EXPECT_EQ(model().headerData(column, Qt::Horizontal, Qt::TextAlignmentRole), wanted);
    // Not in bold type.
    EXPECT_EQ(
        model().headerData(column, Qt::Horizontal, Qt::SizeHintRole).toSize(),
        header.fontMetrics().size(0, QString::fromLatin1(title)) + QSize(2 * margin, 2 * margin));
  }
  EXPECT_FALSE(model().headerData(0, Qt::Vertical).isValid());
  EXPECT_FALSE(model().headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
}

// In a mirrored window too: "/m" isn't "m/", and 4 MB aren't "MB 4".
TEST_F(FileTableTest, TextsArePaintedInTheirOwnDirection) {
  addRoot("/m", 1);
  const auto* const delegate = qobject_cast<QStyledItemDelegate*>(table().itemDelegate());
  ASSERT_NE(delegate, nullptr);
  EXPECT_EQ(delegate->displayText(cell(0, 2), QLocale()), isolated(QStringLiteral("/m")));
  EXPECT_EQ(cell(0, 2), QStringLiteral("/m"));
}

TEST_F(FileTableTest, NoColumnTouchesTheNext) {
  const auto extra = [](const QWidget* widget, QStyle::PixelMetric metric) {
    return widget->style()->pixelMetric(metric) - QApplication::style()->pixelMetric(metric);
  };
  EXPECT_EQ(extra(table().horizontalHeader(), QStyle::PM_HeaderMargin), 4);
  EXPECT_EQ(extra(&table(), QStyle::PM_FocusFrameHMargin), 4);
  EXPECT_EQ(extra(&table(), QStyle::PM_ButtonMargin), 0);
  // In all other things the table looks like the rest of the window.
  EXPECT_NE(dynamic_cast<WindowStyle*>(table().style()), nullptr);
  EXPECT_EQ(table().horizontalHeader()->style(), table().style());
}

TEST_F(FileTableTest, AFilesToolTipSaysToAddItsFolder) {
  addRoot("/m/a.mp3", 1, false);
  addRoot("/m", 1, true);
  const QString advice = QStringLiteral("A single file always fails to copy: add its folder");
  EXPECT_TRUE(tip(0, 0).contains(QStringLiteral("a.mp3") + advice));
  EXPECT_FALSE(tip(1, 0).contains(advice));
  EXPECT_TRUE(tip(1, 2).endsWith(QStringLiteral(">/m")));
}

TEST_F(FileTableTest, ARowThatIsGoneFromTheListIsEmptyUntilTheReload) {
  addRoot("/a", 1);
  addRoot("/b", 1);
  const QModelIndex last = model().index(1, 0);
  windows->songs()->list()->pop_back();
  EXPECT_FALSE(last.data().isValid());
  EXPECT_EQ(cell(0, 0), QStringLiteral("a"));
  EXPECT_FALSE(last.data(Qt::ToolTipRole).isValid());
}

TEST_F(FileTableTest, AnEmptyListShowsAHint) {
  EXPECT_TRUE(hint()->isVisible());
  EXPECT_EQ(hint()->text(), QStringLiteral("Drop folders of audio here,\nor choose Browse"));
  EXPECT_EQ(hint()->alignment(), Qt::AlignCenter);
  EXPECT_EQ(hint()->foregroundRole(), QPalette::PlaceholderText);
  settle();
  EXPECT_EQ(hint()->geometry().center(), table().viewport()->rect().center());
  EXPECT_TRUE(hint()->testAttribute(Qt::WA_TransparentForMouseEvents));
  addRoot("/a", 1);
  EXPECT_FALSE(hint()->isVisible());
  windows->songs()->removeAllTRFiles();
  EXPECT_TRUE(hint()->isVisible());
}

TEST_F(FileTableTest, SelectsWholeRowsAndEditsNothing) {
  addRoot("/a", 1);
  addRoot("/b", 1);
  const QRect last = table().visualRect(model().index(1, 2));
  QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, last.center());
  EXPECT_EQ(table().selectedRowIndexes(), std::set<std::size_t>{1});
  const QRect first = table().visualRect(model().index(0, 0));
  QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ControlModifier, first.center());
  EXPECT_EQ(table().selectedRowIndexes(), (std::set<std::size_t>{0, 1}));
  EXPECT_EQ(table().editTriggers(), QAbstractItemView::NoEditTriggers);
}

TEST_F(FileTableTest, AChangeOfTheListKeepsSelectionAndCurrentRowOfRemainingRoots) {
  for (const char* path : {"/a", "/b", "/c", "/d"}) {
    addRoot(path, 1);
  }
  const auto select = [this](int row) {
    table().selectionModel()->select(model().index(row, 0),
                                     QItemSelectionModel::Select | QItemSelectionModel::Rows);
  };
  select(1);
  select(3);
  table().selectionModel()->setCurrentIndex(model().index(2, 0), QItemSelectionModel::NoUpdate);
  addRoot("/e", 1);
  EXPECT_EQ(table().selectedRowIndexes(), (std::set<std::size_t>{1, 3}));
  EXPECT_EQ(table().currentIndex().row(), 2);
  windows->songs()->removeTRFiles({0, 1});
  EXPECT_EQ(cell(1, 2), QStringLiteral("/d"));
  EXPECT_EQ(table().selectedRowIndexes(), std::set<std::size_t>{1});
  EXPECT_EQ(table().currentIndex().row(), 0);
  windows->songs()->removeAllTRFiles();
  EXPECT_TRUE(table().selectedRowIndexes().empty());
}

TEST_F(FileTableTest, ColumnsFillTheTableAndLongTextsAreCutInTheMiddle) {
  windows->window().resize(720, 480);
  addRoot("/" + std::string(200, 'x'), 7948206080);
  settle();
  const QHeaderView& header = *table().horizontalHeader();
  EXPECT_EQ(header.length(), table().viewport()->width());
  EXPECT_GT(header.sectionSize(0), 120);
  EXPECT_GT(header.sectionSize(2), 120);
  EXPECT_GT(header.sectionSize(1), header.fontMetrics().horizontalAdvance(cell(0, 1).toString()));
  EXPECT_EQ(table().textElideMode(), Qt::ElideMiddle);
  EXPECT_GT(table().rowHeight(0), table().fontMetrics().height());
  EXPECT_FALSE(table().verticalHeader()->isVisible());
  EXPECT_FALSE(table().wordWrap());
  EXPECT_FALSE(table().showGrid());
  EXPECT_TRUE(table().alternatingRowColors());
  EXPECT_FALSE(header.highlightSections());
}

class ContextMenuTest : public WindowTest {
 protected:
  ContextMenuTest() {
    launch();
    menu_ = controller().songsTVCContextMenu();
    for (const char* path : {"/a", "/b", "/c"}) {
      addRoot(path, 1);
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

TEST_F(ContextMenuTest, OffersCommandsForTheClickedRowAndTheSelection) {
  EXPECT_EQ(menu().actions().at(0), controller().fileMenuDelete());
  EXPECT_EQ(menu().actions().size(), 3);
  const Texts two{"Remove This Row", "Remove All"};
  const auto offered = [this](int row) {
    rightClickRow(row);
    const Texts texts = menuTexts();
    EXPECT_EQ(clickedRow, row);
    EXPECT_TRUE(isFirstEnabled());
    EXPECT_TRUE(menu().isVisible());
    menu().close();
    return texts;
  };
  EXPECT_EQ(offered(1), two);
  ui().lstFiles->selectRow(1);
  EXPECT_EQ(offered(1), two);
  EXPECT_EQ(offered(2), two);
  EXPECT_EQ(selected(), std::set<std::size_t>{1});  // as before the right clicks
  ui().lstFiles->selectAll();
  EXPECT_EQ(offered(2), (Texts{"Remove This Row", "Remove 3 Selected", "Remove All"}));
  ui().lstFiles->clearSelection();
  EXPECT_EQ(offered(2), two);
  rightClick({20, ui().lstFiles->viewport()->height() - 5});
  EXPECT_EQ(clickedRow, -1);
  EXPECT_EQ(menuTexts(), Texts{});
  EXPECT_FALSE(isFirstEnabled());
  EXPECT_FALSE(menu().isVisible());
}

TEST_F(ContextMenuTest, TheKeyboardOpensItForTheCurrentRow) {
  ui().lstFiles->selectRow(1);
  QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(2, 2), QPoint(2, 2));
  QApplication::sendEvent(ui().lstFiles->viewport(), &event);
  EXPECT_EQ(clickedRow, 1);
  const QRect row = ui().lstFiles->visualRect(ui().lstFiles->model()->index(1, 0));
  EXPECT_EQ(menu().pos(), ui().lstFiles->viewport()->mapToGlobal(row.bottomLeft()));
}

TEST_F(ContextMenuTest, TheMouseOpensItAtThePointerAndTheRowIsForgottenWhenTheListChanges) {
  rightClickRow(2);
  const QRect row = ui().lstFiles->visualRect(ui().lstFiles->model()->index(2, 0));
  EXPECT_EQ(menu().pos(), ui().lstFiles->viewport()->mapToGlobal(row.center()));
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
