#include "WindowTest.h"

namespace fillstation::test {
namespace {

using PlayerListTest = WindowTest;

const Texts kAfterOne{"on update!", "\nLog P Size 4096\n", "\nLog xxxP Size -1\n"};

TEST_F(PlayerListTest, AnAttachRecordBecomesAPlayer) {
  deliver("/dev/sdb", true, "SONGS", "file:///media/SONGS/", 4096, 0xFFFF0002U);
  const auto players = windows->players()->listed();
  ASSERT_EQ(players.size(), 1U);
  const TRPlayer& player = *players.at(0);
  EXPECT_EQ(player.name(), "/dev/sdb (SONGS)");
  EXPECT_EQ(player.diskName(), "/dev/sdb");
  EXPECT_EQ(player.path(), "file:///media/SONGS/");
  EXPECT_EQ(player.size().value(), 4096);
  EXPECT_EQ(static_cast<std::uint32_t>(player.IONumber()), 0xFFFF0002U);
  EXPECT_TRUE(player.isMounted());
  ASSERT_TRUE(player.selected());
  EXPECT_EQ(player.selected().value(), 0);
  EXPECT_EQ(logTexts(), kAfterOne);
}

TEST_F(PlayerListTest, ASecondAttachOfAListedPlayerLeavesTheListUnchanged) {
  deliver("/dev/sdb", true);
  const auto before = windows->players()->listed();
  before.at(0)->setSelected(Number(1));
  deliver("/dev/sdb", true, "OTHER", "file:///media/OTHER/", 8192);
  EXPECT_EQ(windows->players()->listed(), before);
  EXPECT_EQ(before.at(0)->name(), "/dev/sdb (SONGS)");
  EXPECT_TRUE(before.at(0)->selected().isTrue());
  EXPECT_EQ(logTexts(),
            kAfterOne + Texts({"on update!", "\nLog P Size 4096\n", "\nLog xxxP Size 4096\n"}));
}

TEST_F(PlayerListTest, ADetachRemovesThePlayerOfThatDiskIfItIsListed) {
  deliver("/dev/sdb", true);
  deliver("/dev/sdc", true);
  const auto listed = windows->players()->listed().at(0);
  for (const char* disk : {"/dev/sdb", "/dev/sdz"}) {
    ports.log.clear();
    deliver(disk, false, "N/A", "N/A", 0);
    EXPECT_EQ(listedDisks(), Texts{"/dev/sdc"});
    EXPECT_EQ(logTexts(), kAfterOne);
  }
  EXPECT_EQ(listed->name(), "/dev/sdb (SONGS)");
}

TEST_F(PlayerListTest, WithoutAListADetachDoesNothingAndAnAttachMakesOne) {
  const auto empty = std::make_shared<ArrayController<TRPlayer>>();
  controller().setPlayerController(empty);
  deliver("/dev/sdb", false);
  EXPECT_EQ(empty->arrangedObjects(), nullptr);
  EXPECT_EQ(logTexts(), (Texts{"on update!", "\nLog xxxP Size 0\n"}));
  deliver("/dev/sdb", true);
  EXPECT_EQ(empty->listed().size(), 1U);
}

TEST_F(PlayerListTest, ARecordThatIsNeitherOnlyUpdatesTheSizes) {
  deliver("/dev/sdb", true);
  ports.log.clear();
  for (const int direction : {2, -1}) {
    UsbDeviceInfo record;
    record.setDiskName("/dev/sdb");
    record.inserted = direction;
    controller().updateUsbInfo(&record);
    EXPECT_EQ(listedDisks(), Texts{"/dev/sdb"});
    record.setDiskName("/dev/sdc");
    controller().updateUsbInfo(&record);
    EXPECT_EQ(listedDisks(), Texts{"/dev/sdb"});
  }
  EXPECT_EQ(logTexts(), kAfterOne + kAfterOne + kAfterOne + kAfterOne);
}

TEST_F(PlayerListTest, WithoutAMountPathItIsMountedAfterTheLengthOfTheFormattedText) {
  deliver("/dev/sdb", true, nullptr, nullptr);
  deliver("/dev/sdc", true, "SONGS", "");
  const auto players = windows->players()->listed();
  EXPECT_EQ(players.at(0)->name(), "/dev/sdb ((null))");
  EXPECT_EQ(players.at(0)->path(), "(null)");
  EXPECT_TRUE(players.at(0)->isMounted());
  EXPECT_EQ(players.at(1)->path(), "");
  EXPECT_FALSE(players.at(1)->isMounted());
}

TEST_F(PlayerListTest, AnotherMediumGivesAListedPlayerItsSizeAndNothingElse) {
  launch();
  const auto player = addPlayer("sdb", 0, true);
  player->setPath("file:///media/SONGS/");
  addPlayer("sdc", 4096);
  ports.log.clear();
  bus.changeMedium("/dev/sdb", 2 * 1048576);
  settle();
  EXPECT_EQ(player->size().value(), 2 * 1048576);
  EXPECT_EQ(player->name(), "/dev/sdb (SONGS)");
  EXPECT_EQ(player->path(), "file:///media/SONGS/");
  EXPECT_TRUE(tick(0)->isChecked());
  EXPECT_EQ(listedDisks(), (Texts{"/dev/sdb", "/dev/sdc"}));
  EXPECT_TRUE(tick(0)->accessibleDescription().endsWith(QStringLiteral(" 2 MB")));
  EXPECT_EQ(logTexts(),
            (Texts{"\nLog P Size 2097152\n", "\nLog P Size 4096\n", "\nLog xxxP Size 2097152\n"}));
  ports.log.clear();
  bus.changeMedium("/dev/sdz", 8192);  // which is not listed
  settle();
  EXPECT_EQ(logTexts(), Texts());
}

TEST_F(PlayerListTest, AllTicksEveryPlayerAndNoneTicksNone) {
  launch();
  addPlayer("sdb", 4096);
  addPlayer("sdc", 4096, true);
  for (const bool all : {true, false}) {
    ports.log.clear();
    click(all ? ui().btnAll : ui().btnNone);
    for (const int row : {0, 1}) {
      EXPECT_EQ(windows->players()->listed().at(static_cast<std::size_t>(row))->selected().value(),
                all ? 1 : 0);
      EXPECT_EQ(tick(row)->isChecked(), all);
    }
    EXPECT_EQ(logTexts(), (Texts{"\nLog P Size 4096\n", "\nLog P Size 4096\n",
                                 all ? "\nLog xxxP Size 4096\n" : "\nLog xxxP Size -1\n"}));
  }
}

TEST_F(PlayerListTest, AllNoneAndEjectOnAnEmptyListOnlyUpdateTheSizes) {
  launch();
  for (QPushButton* button : {ui().btnAll, ui().btnNone, ui().btnEject}) {
    ports.log.clear();
    click(button);
    EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
  }
  EXPECT_TRUE(ports.disks.kinds().empty());
}

TEST_F(PlayerListTest, EjectEjectsAndRemovesEveryTickedPlayerInListOrder) {
  launch();
  for (const char* name : {"sdb", "sdc", "sdd", "sde"}) {
    makeStick(name, 0x10002);
  }
  addPlayer("sdb", 1, true);
  addPlayer("sdc", 2);
  addPlayer("sdd", 3, true);
  addPlayer("sde", 4, true);
  ports.log.clear();
  click(ui().btnEject);
  EXPECT_EQ(listedDisks(), Texts{"/dev/sdc"});
  const Texts log = logTexts();
  EXPECT_EQ(Texts(log.end() - 2, log.end()), (Texts{"\nLog P Size 2\n", "\nLog xxxP Size -1\n"}));
  runUntil([&] { return ports.disks.kinds().size() == 6; });
  std::vector<std::string> asked;
  for (const auto& request : ports.disks.requests) {
    asked.push_back(request.kind + " " + request.expected.node);
  }
  EXPECT_EQ(asked, (Texts{"unmount /dev/sdb", "unmount /dev/sdd", "unmount /dev/sde",
                          "eject /dev/sdb", "eject /dev/sdd", "eject /dev/sde"}));
}

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
    std::optional<std::int64_t> player;
    std::int64_t files;
    const char* capacity;
    const char* left;
  };
  for (const auto& [player, used, expected, expectedLeft] : {
           Case{std::nullopt, 5000, "0 KB", "18446744073709551612 KB"},
           {0, 1024, "0 KB", "18446744073709551615 KB"},
           {7948206080, 0, "7580 MB", "7580 MB"},
           {2097152, 1048577, "2 MB", "1023 KB"},
       }) {
    windows->players()->setArrangedObjects({});
    windows->songs()->removeAllTRFiles();
    if (player) {
      addPlayer("sdb", *player, true);
    }
    addRoot("/a", used);
    update();
    EXPECT_EQ(capacity(), expected);
    EXPECT_EQ(left(), expectedLeft);
    EXPECT_EQ(controller().minPlayerSize().value(), player.value_or(0));
    EXPECT_EQ(logTexts().size(), player ? 2U : 1U);
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
  // Two boxes with a known order by identity, with the smaller value on either side.
  const Number one(5 * 1048576);
  const Number other(3 * 1048576);
  const Number& low = one.ordersAbove(other) ? other : one;
  const auto first = addPlayer("sdb", 0, true);
  const auto second = addPlayer("sdc", 0, true);
  for (const bool swapped : {false, true}) {
    first->setSize(swapped ? other : one);
    second->setSize(swapped ? one : other);
    update();
    EXPECT_TRUE(controller().minPlayerSize().isSame(low));
  }
}

TEST_F(CapacityLabelsTest, TheFirstTickedPlayerIsTakenWithAnyBox) {
  // One of the two boxes is above the sentinel's or below it; each is taken when it is first.
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
  addPlayer("sdb", -1, true);
  const auto next = addPlayer("sdc", 4096, true);
  update();
  EXPECT_TRUE(controller().minPlayerSize().isSame(next->size()));
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

std::shared_ptr<TRFile> file(const std::string& path) {
  auto made = std::make_shared<TRFile>();
  made->setPath(path);
  return made;
}

using Controller = ArrayController<TRFile>;

TEST(ArrayController, HasNoListAtFirstAndAppendsEqualObjectsToo) {
  Controller controller;
  EXPECT_EQ(controller.arrangedObjects(), nullptr);
  EXPECT_FALSE(controller.contains(*file("/a")));
  controller.objectsChanged();  // without an observer
  const auto first = file("/a");
  const auto second = file("/a");
  controller.addObject(first);
  controller.addObject(second);
  EXPECT_EQ(controller.listed(), (Controller::List{first, second}));
  EXPECT_TRUE(controller.contains(*file("/a")));
  EXPECT_FALSE(controller.contains(*file("/b")));
}

TEST(ArrayController, RemovesEveryEqualObjectFromANewListAndReportsEachChange) {
  Controller controller;
  std::vector<std::size_t> sizes;
  controller.setObserver([&] { sizes.push_back(controller.listed().size()); });
  const auto b = file("/b");
  controller.setArrangedObjects({file("/a"), b});
  controller.addObject(file("/a"));
  const auto taken = controller.arrangedObjects();
  controller.removeObject(*file("/a"));
  controller.objectsChanged();
  EXPECT_EQ(controller.listed(), Controller::List{b});
  EXPECT_EQ(taken->size(), 3U);
  EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 3, 1, 1}));
}

}  // namespace
}  // namespace fillstation::test
