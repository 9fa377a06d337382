#include "WindowTest.h"

namespace fillstation::test {
namespace {

class CapacityLabelsTest : public WindowTest {
 protected:
  void update() {
    ports.log.clear();
    controller().updateFilesSize();
  }
  std::string capacity() const { return ui().lblMaxCapSize->text().toStdString(); }
  std::string left() const { return ui().lblFreeDiskSpaceLeft->text().toStdString(); }
};

TEST_F(CapacityLabelsTest, AreEmptyAtFirstAndThenZeroForAnEmptyListWithoutFiles) {
  EXPECT_EQ(capacity(), "");
  EXPECT_EQ(left(), "");
  update();
  EXPECT_EQ(capacity(), "0 KB");
  EXPECT_EQ(left(), "0 KB");
  EXPECT_EQ(controller().minPlayerSize().value(), 0);
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(CapacityLabelsTest, OneTickedPlayerIsTheCapacityAndNegativeSpaceIsShownUnsigned) {
  struct Case {
    std::int64_t player;  // none for 0
    std::int64_t files;
    const char* capacity;
    const char* left;
  };
  for (const auto& [player, used, expected, expectedLeft] : {
           Case{0, 5000, "0 KB", "18446744073709551612 KB"},
           {0, 10485760, "0 KB", "18446744073709551606 MB"},
           {7948206080, 0, "7580 MB", "7580 MB"},
           {2097152, 1048576, "2 MB", "1 MB"},
           {2097152, 1048577, "2 MB", "1023 KB"},
           {1048576, 2097152, "1 MB", "18446744073709551615 MB"},
       }) {
    windows->players()->setArrangedObjects({});
    windows->songs()->removeAllTRFiles();
    if (player != 0) {
      addPlayer("sdb", player, true);
    }
    addRoot("/a", used);
    update();
    EXPECT_EQ(capacity(), expected);
    EXPECT_EQ(left(), expectedLeft);
    EXPECT_EQ(controller().minPlayerSize().value(), player);
  }
}

TEST_F(CapacityLabelsTest, WithoutATickedPlayerTheFilesAreNotCounted) {
  addPlayer("sdb", 4096);
  addPlayer("sdc", 8192);
  addRoot("/a", 10485760);
  update();
  EXPECT_EQ(controller().minPlayerSize().value(), -1);
  EXPECT_EQ(capacity(), "0 KB");
  EXPECT_EQ(left(), "0 KB");
  EXPECT_EQ(logTexts(),
            (Texts{"\nLog P Size 4096\n", "\nLog P Size 8192\n", "\nLog xxxP Size -1\n"}));
}

TEST_F(CapacityLabelsTest, TheSecondTickedPlayerReplacesTheFirstByTheOrderOfTheBoxesAlone) {
  // Two boxes whose order by identity is known, with the smaller value on either side.
  const Number one(5 * 1048576);
  const Number other(3 * 1048576);
  const Number& high = one.ordersAbove(other) ? one : other;
  const Number& low = one.ordersAbove(other) ? other : one;
  const auto first = addPlayer("sdb", 0, true);
  const auto second = addPlayer("sdc", 0, true);
  first->setSize(high);
  second->setSize(low);
  update();
  EXPECT_TRUE(controller().minPlayerSize().isSame(low));
  first->setSize(low);
  second->setSize(high);
  update();
  EXPECT_TRUE(controller().minPlayerSize().isSame(low));
}

TEST_F(CapacityLabelsTest, TheFirstTickedPlayerIsTakenWhateverItsBoxIs) {
  // One of the two boxes lies above the sentinel's or below it; each is taken when it is first.
  std::vector<Number> boxes;
  for (int count = 0; count < 64; ++count) {
    boxes.emplace_back(count + 4096);
  }
  const auto player = addPlayer("sdb", 0, true);
  for (const Number& box : boxes) {
    player->setSize(box);
    update();
    EXPECT_TRUE(controller().minPlayerSize().isSame(box));
  }
}

TEST_F(CapacityLabelsTest, APlayerOfMinusOneByteIsReplacedByTheNext) {
  const Number one(-1);
  const Number other(4096);
  const auto first = addPlayer("sdb", 0, true);
  const auto second = addPlayer("sdc", 0, true);
  first->setSize(one);
  second->setSize(other);
  update();
  EXPECT_TRUE(controller().minPlayerSize().isSame(other));
}

TEST_F(CapacityLabelsTest, ATickedPlayerOfSizeZeroCounts) {
  addPlayer("sdb", 0, true);
  addRoot("/a", 1024);
  update();
  EXPECT_EQ(capacity(), "0 KB");
  EXPECT_EQ(left(), "18446744073709551615 KB");
  EXPECT_EQ(logTexts(), (Texts{"\nLog P Size 0\n", "\nLog xxxP Size 0\n"}));
}

TEST_F(CapacityLabelsTest, AnAbsentFileListCountsNothing) {
  addPlayer("sdb", 4096, true);
  controller().setSongsTVC({});
  update();
  EXPECT_EQ(left(), "4 KB");
}

TEST_F(CapacityLabelsTest, AreWideEnoughForTheLongestFigureInTheSmallestWindow) {
  windows->window().resize(1, 1);
  launch();
  addRoot("/a", 10485760);
  update();
  settle();
  const QLabel* label = ui().lblFreeDiskSpaceLeft;
  EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()));
  EXPECT_EQ(windows->window().size(), QSize(720, 480));
}

}  // namespace
}  // namespace fillstation::test
