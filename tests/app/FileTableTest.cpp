#include <QAbstractItemModelTester>
#include <QHeaderView>
#include <QStyledItemDelegate>

#include "DisplayText.h"
#include "FileTableModel.h"
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
    return cell(row, column, Qt::ToolTipRole).toString().remove(QChar(0x200B));
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

TEST_F(FileTableTest, ARowShowsNameSizeAndPath) {
  addRoot("/music/album", 4404020);
  ASSERT_EQ(model().rowCount(), 1);
  ASSERT_EQ(model().columnCount(), 3);
  EXPECT_EQ(cell(0, 0), QStringLiteral("album"));
  EXPECT_EQ(cell(0, 1), QStringLiteral("4.2 MB"));
  EXPECT_EQ(cell(0, 2), QStringLiteral("/music/album"));
}

TEST_F(FileTableTest, RowsFollowTheOrderOfTheList) {
  addRoot("/b", 1);
  addRoot("/a", 1);
  EXPECT_EQ(cell(0, 2), QStringLiteral("/b"));
  EXPECT_EQ(cell(1, 2), QStringLiteral("/a"));
}

TEST_F(FileTableTest, AnAbsentFieldShowsEmpty) {
  auto root = std::make_shared<TRFile>();
  root->setName(std::nullopt);
  windows->songs()->addTRFile(root);
  EXPECT_EQ(cell(0, 0), QString());
  EXPECT_EQ(cell(0, 1), QString());
  EXPECT_EQ(cell(0, 2), QStringLiteral("Empty"));
}

TEST_F(FileTableTest, TheModelIsFlat) {
  addRoot("/a", 1);
  EXPECT_EQ(model().rowCount(model().index(0, 0)), 0);
  EXPECT_EQ(model().columnCount(model().index(0, 0)), 0);
}

TEST_F(FileTableTest, TheHeadersNameTheColumns) {
  for (const auto& [column, title] : {std::pair(0, "Name"), {1, "Size"}, {2, "Path"}}) {
    EXPECT_EQ(model().headerData(column, Qt::Horizontal), QString::fromLatin1(title));
  }
  EXPECT_FALSE(model().headerData(0, Qt::Vertical).isValid());
  EXPECT_FALSE(model().headerData(0, Qt::Horizontal, Qt::ToolTipRole).isValid());
}

TEST_F(FileTableTest, SizesAreRightAligned) {
  addRoot("/a", 1);
  const auto left = QVariant::fromValue<Qt::Alignment>(Qt::AlignLeft | Qt::AlignVCenter);
  const auto right = QVariant::fromValue<Qt::Alignment>(Qt::AlignRight | Qt::AlignVCenter);
  for (const auto& [column, wanted] : {std::pair(0, left), {1, right}, {2, left}}) {
    EXPECT_EQ(cell(0, column, Qt::TextAlignmentRole), wanted);
    EXPECT_EQ(model().headerData(column, Qt::Horizontal, Qt::TextAlignmentRole), wanted);
  }
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

TEST_F(FileTableTest, OtherRolesAreEmpty) {
  addRoot("/a", 1);
  EXPECT_FALSE(cell(0, 0, Qt::DecorationRole).isValid());
}

TEST_F(FileTableTest, NamesArePlainTextWhateverTheyHold) {
  addRoot("/m/<b>a</b>\n\xFF", 1);
  EXPECT_EQ(cell(0, 0), QString::fromUtf8("b>\uFFFD\uFFFD"));
  EXPECT_EQ(cell(0, 2), QString::fromUtf8("/m/<b>a</b>\uFFFD\uFFFD"));
  EXPECT_TRUE(tip(0, 2).contains(QStringLiteral("/m/&lt;b&gt;a")));
}

TEST_F(FileTableTest, AFilesToolTipSaysToAddItsFolder) {
  addRoot("/m/a.mp3", 1, false);
  addRoot("/m", 1, true);
  const QString advice = QStringLiteral("A single file always fails to copy: add its folder");
  EXPECT_TRUE(tip(0, 0).contains(QStringLiteral("a.mp3\n") + advice));
  EXPECT_FALSE(tip(1, 0).contains(advice));
  EXPECT_TRUE(tip(1, 2).contains(QStringLiteral(">/m<")));
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

TEST_F(FileTableTest, AnEmptyListSaysWhatToDo) {
  EXPECT_TRUE(hint()->isVisible());
  EXPECT_EQ(hint()->text(), QStringLiteral("Drop folders of audio here,\nor choose Browse"));
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
  EXPECT_TRUE(table().isRowSelected(1));
  EXPECT_FALSE(table().isRowSelected(0));
  EXPECT_EQ(table().numberOfSelectedRows(), 1U);
  const QRect first = table().visualRect(model().index(0, 0));
  QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::ControlModifier, first.center());
  EXPECT_EQ(table().selectedRowIndexes(), (std::set<std::size_t>{0, 1}));
  EXPECT_EQ(table().numberOfSelectedRows(), 2U);
  EXPECT_EQ(table().editTriggers(), QAbstractItemView::NoEditTriggers);
}

TEST_F(FileTableTest, AChangeOfTheListKeepsSelectionAndCurrentRowOfWhatRemains) {
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
  EXPECT_EQ(table().numberOfSelectedRows(), 0U);
}

TEST_F(FileTableTest, AfterARemovalOfTheSelectedRowsNothingIsSelected) {
  addRoot("/a", 1);
  addRoot("/b", 1);
  table().selectRow(0);
  QTest::keyClick(&table(), Qt::Key_Delete);
  QTest::keyClick(&table(), Qt::Key_Delete);
  EXPECT_EQ(model().rowCount(), 1);
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

}  // namespace
}  // namespace fillstation::test
