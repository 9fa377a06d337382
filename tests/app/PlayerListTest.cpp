#include <atomic>

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

TEST_F(PlayerListTest, APlayerCanBeEjectedWhileItsRefreshIsUnderWay) {
  launch();
  makeStick("sdb", 0x10002);
  const auto disk = ports.disks.byName["sdb"];
  const auto answer = disk->describe;
  disk->describe = [&](std::size_t look) {
    return look > 3 ? answer(look) : describedAs(std::nullopt, std::nullopt);
  };
  const auto player = addPlayer("sdb", 1, true);
  std::atomic<bool> refreshed{false};
  platform().workers->spawn([&, player] {
    EXPECT_TRUE(player->refresVolumeInfo());
    refreshed = true;
  });
  runUntil([&] { return ports.clock.sleeps().size() >= 1; });
  click(ui().btnEject);
  runUntil([&] { return refreshed && ports.disks.kinds() == Texts({"unmount", "eject"}); });
  EXPECT_TRUE(listedDisks().empty());
  EXPECT_EQ(player->name(), "SONGS");
}

}  // namespace
}  // namespace fillstation::test
