#include <cstdlib>

#include "WindowTest.h"

namespace fillstation::test {
namespace {

// What the rows say of the files in their folders.
class FileRowsTest : public WindowTest {
 protected:
  FileRowsTest() { launch(); }
  ~FileRowsTest() override { QGuiApplication::setLayoutDirection(Qt::LeftToRight); }

  FileTable& table() const { return *ui().lstFiles; }
  QAbstractItemModel& model() const { return *table().model(); }
  QVariant cell(int row, int column, int role) const {
    return model().index(row, column).data(role);
  }
  std::string spoken(int row, int column = 0) const {
    return cell(row, column, Qt::AccessibleDescriptionRole).toString().toStdString();
  }
  bool isWarned(int row, int column = 0) const {
    return cell(row, column, Qt::DecorationRole).isValid();
  }
  // A folder of files with these addresses, the last one so large, is added.
  void addFolder(const Texts& addresses, std::int64_t lastSize = 1) {
    auto root = std::make_shared<TRFile>();
    root->setName("HHH");
    root->setIsDir(true);
    root->setFiles(std::make_shared<TRFileList>());
    for (const auto& address : addresses) {
      auto file = std::make_shared<TRFile>();
      file->setDestRelativeUrl(Url::withString(address));
      file->setSize(Number(address == addresses.back() ? lastSize : 1));
      root->files()->push_back(std::move(file));
    }
    windows->songs()->addTRFile(root);
  }
};

TEST_F(FileRowsTest, AFolderSaysHowManyFilesItBroughtWhenItWasAdded) {
  addRoot("/none", 1, true, 0);
  ui().cmbFileType->setCurrentText(QStringLiteral("ogg"));
  addRoot("/one", 1, true, 1);
  addRoot("/more", 1, true, 3);
  addRoot("/a.mp3", 1, false);
  addRoot("/other", 1, true, 0);
  const Texts remarks{"no mp3 files", "1 file", "3 files", "", "no ogg files"};
  for (int row = 0; row < 5; ++row) {
    EXPECT_EQ(spoken(row), remarks.at(static_cast<std::size_t>(row)));
    EXPECT_EQ(spoken(row, 2), "");
  }
}

TEST_F(FileRowsTest, NamesThatThePlayersCannotStoreAreNamedAtTheirFolder) {
  addFolder({"a%3F", "b", "B", "c"}, 0x100000000);
  EXPECT_FALSE(isWarned(0));
  runUntil([this] { return isWarned(0); });
  EXPECT_FALSE(isWarned(0, 2));
  EXPECT_EQ(spoken(0),
            "4 files\nThe players can't store 3 of these:\na?: the name\n"
            "B: the name exists already\nc: 4 GiB or more");
  EXPECT_TRUE(cell(0, 2, Qt::ToolTipRole).toString().contains(QStringLiteral("can't store 3")));
  addFolder({"1%3F", "2%3F", "3%3F", "4%3F", "5%3F"});
  addFolder({"d"});
  addFolder({"1%3F", "2%3F", "3%3F", "4%3F", "5%3F", "6%3F"});
  EXPECT_FALSE(isWarned(0)) << "looked at again";
  runUntil([this] { return isWarned(0); });
  const std::string five = "\n1?: the name\n2?: the name\n3?: the name\n4?: the name\n5?: the name";
  EXPECT_EQ(spoken(1), "5 files\nThe players can't store 5 of these:" + five);
  EXPECT_EQ(spoken(2), "1 file");
  EXPECT_FALSE(isWarned(2));
  EXPECT_EQ(spoken(3), "6 files\nThe players can't store 6 of these:" + five + "\n…");
}

TEST_F(FileRowsTest, OnlyTheLatestLookAtTheNamesCounts) {
  std::vector<std::pair<QModelIndex, QModelIndex>> changes;
  QObject::connect(&model(), &QAbstractItemModel::dataChanged, &table(),
                   [&](const auto& first, const auto& last) { changes.emplace_back(first, last); });
  addFolder({"a%3F"});
  ports.workers.join();
  addFolder({"b"});
  addFolder({"c"});
  ports.workers.join();
  EXPECT_TRUE(changes.empty());
  settle();
  ASSERT_EQ(changes.size(), 1U);
  EXPECT_EQ(changes.front(), std::pair(model().index(0, 0), model().index(2, 0)));
  const std::size_t spawned = ports.workers.spawned();
  windows->songs()->removeAllTRFiles();
  EXPECT_EQ(ports.workers.spawned(), spawned) << "there is nothing to look at";
}

// Around everything that is written there.
QRect inkIn(const QImage& image, const QRect& part, const QColor& ground) {
  QRect ink;
  for (int y = part.top(); y <= part.bottom(); ++y) {
    for (int x = part.left(); x <= part.right(); ++x) {
      if (std::abs(image.pixelColor(x, y).lightness() - ground.lightness()) > 80) {
        ink |= QRect(x, y, 1, 1);
      }
    }
  }
  return ink;
}

// The lightness that stands out most from the ground.
int strengthIn(const QImage& image, const QRect& part, const QColor& ground) {
  int strength = ground.lightness();
  for (int y = part.top(); y <= part.bottom(); ++y) {
    for (int x = part.left(); x <= part.right(); ++x) {
      const int one = image.pixelColor(x, y).lightness();
      const bool isMore =
          std::abs(one - ground.lightness()) > std::abs(strength - ground.lightness());
      strength = isMore ? one : strength;
    }
  }
  return strength;
}

TEST_F(FileRowsTest, ANameIsPaintedBesideTheDimmedRemarkAtTheOtherEnd) {
  QPalette colours = table().palette();
  colours.setColor(QPalette::Base, Qt::white);
  colours.setColor(QPalette::Text, Qt::black);
  colours.setColor(QPalette::Highlight, Qt::black);
  colours.setColor(QPalette::HighlightedText, Qt::white);
  table().setPalette(colours);
  addFolder({"1.mp3", "2.mp3"});
  const QFontMetrics metrics = table().fontMetrics();
  const int padding = 4;
  for (const bool isMirrored : {false, true}) {
    QGuiApplication::setLayoutDirection(isMirrored ? Qt::RightToLeft : Qt::LeftToRight);
    for (const bool isSelected : {false, true}) {
      table().clearSelection();
      if (isSelected) {
        table().selectionModel()->select(model().index(0, 0),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);
      }
      settle();
      const QRect place = table().visualRect(model().index(0, 0)).adjusted(1, 1, -1, -1);
      const QImage image = table().viewport()->grab().toImage();
      const QColor ground = isSelected ? Qt::black : Qt::white;
      const QRect half(place.topLeft(), QSize(place.width() / 2, place.height()));
      const QRect other = half.translated(place.width() / 2, 0);
      const QRect name = inkIn(image, isMirrored ? other : half, ground);
      const QRect remark = inkIn(image, isMirrored ? half : other, ground);
      EXPECT_NEAR(name.width(), metrics.horizontalAdvance(QStringLiteral("HHH")), 3);
      EXPECT_NEAR(remark.width(), metrics.horizontalAdvance(QStringLiteral("2 files")), 3);
      const int nameRoom = isMirrored ? place.right() - name.right() : name.left() - place.left();
      const int room = isMirrored ? remark.left() - place.left() : place.right() - remark.right();
      EXPECT_NEAR(room, padding, 2);
      EXPECT_NEAR(nameRoom, padding, 2);
      EXPECT_NEAR(name.center().y(), place.center().y(), 1);
      EXPECT_NEAR(strengthIn(image, name, ground), isSelected ? 255 : 0, 20);
      EXPECT_NEAR(strengthIn(image, remark, ground), isSelected ? 153 : 102, 20);
    }
  }
}

TEST_F(FileRowsTest, ALongNameEndsBeforeTheRemarkAndBeginsBehindTheSign) {
  addFolder({"1%3F"});
  windows->songs()->list()->back()->setName(std::string(200, 'H'));
  const int remark = table().fontMetrics().horizontalAdvance(QStringLiteral("1 file")) + 4;
  const int letter = table().fontMetrics().horizontalAdvance(QLatin1Char('H'));
  runUntil([this] { return isWarned(0); });
  for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
    QGuiApplication::setLayoutDirection(direction);
    settle();
    const QImage image = table().viewport()->grab().toImage();
    const bool isMirrored = direction == Qt::RightToLeft;
    const QRect cell = table().visualRect(model().index(0, 0)).adjusted(1, 1, -1, -1);
    const int end = isMirrored ? cell.left() + remark : cell.right() - remark;
    const QRect gap(isMirrored ? end + 1 : end - 4, cell.top(), 4, cell.height());
    EXPECT_TRUE(inkIn(image, gap, Qt::white).isNull()) << isMirrored;
    const QRect last =
        gap.translated(isMirrored ? 4 : -4, 0)
            .adjusted(isMirrored ? 0 : -2 * letter, 0, isMirrored ? 2 * letter : 0, 0);
    EXPECT_FALSE(inkIn(image, last, Qt::white).isNull()) << isMirrored;
  }
}

}  // namespace
}  // namespace fillstation::test
