#include "TRPlayer.h"

#include <gtest/gtest.h>

#include <thread>

#include "StdCapture.h"
#include "TestPlatform.h"
#include "UsbUtil.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

// A player "/dev/sdb" with its disk, and a session for its requests.
class TRPlayerTest : public testing::Test {
 protected:
  TRPlayerTest() {
    session = platform().createDiskSession();
    ports.disks.byName["sdb"] = disk;
    player->setDiskName("/dev/sdb");
    player->setIONumber(0x00030004);
  }
  ~TRPlayerTest() override { session = nullptr; }

  void runAll() {
    for (int pass = 0; pass < 5; ++pass) {
      ports.mainThread.runPending();
    }
  }

  void refuseEverything() {
    ports.disks.refuse = [](const TestDisks::Request&) { return Dissenter{"busy"}; };
  }

  void volumeIs(std::optional<std::string> name, std::optional<std::string> path) {
    disk->describe = [description = describedAs(name, path)](std::size_t) { return description; };
  }

  bool refresh() {
    const StdCapture quiet(stdout);
    return player->refresVolumeInfo();
  }

  TestPlatform ports;
  std::shared_ptr<TestDisk> disk = std::make_shared<TestDisk>();
  std::shared_ptr<TRPlayer> player = std::make_shared<TRPlayer>();
};

TEST(TRPlayer, NewPlayerIsEmptyNotSelectedNotMountedAndEjecting) {
  const TRPlayer player;
  EXPECT_EQ(player.name(), "Empty");
  EXPECT_EQ(player.path(), "Empty");
  EXPECT_FALSE(player.size());
  EXPECT_TRUE(player.selected());
  EXPECT_FALSE(player.selected().isTrue());
  EXPECT_FALSE(player.isMounted());
  EXPECT_TRUE(player.isEjecting());
  EXPECT_EQ(player.diskName(), std::nullopt);
  EXPECT_EQ(player.IONumber(), 0);
}

TEST(TRPlayer, PropertiesHoldWhatTheyWereGiven) {
  TRPlayer player;
  const Number size(5);
  const Number selected(1);
  player.setName("n");
  player.setPath("p");
  player.setSize(size);
  player.setSelected(selected);
  player.setDiskName("d");
  player.setIONumber(-7);
  player.setIsMounted(true);
  player.setIsEjecting(false);
  EXPECT_EQ(player.name(), "n");
  EXPECT_EQ(player.path(), "p");
  EXPECT_TRUE(player.size().isSame(size));
  EXPECT_TRUE(player.selected().isSame(selected));
  EXPECT_EQ(player.diskName(), "d");
  EXPECT_EQ(player.IONumber(), -7);
  EXPECT_TRUE(player.isMounted());
  EXPECT_FALSE(player.isEjecting());
}

TEST(TRPlayer, SameDiskNameMeansEqualAndHashesAlikeWhateverTheRest) {
  TRPlayer one;
  TRPlayer other;
  one.setDiskName("/dev/sdb");
  other.setDiskName("/dev/sdb");
  other.setName("another");
  other.setIONumber(9);
  EXPECT_TRUE(one.isEqual(other));
  EXPECT_TRUE(one == other);
  EXPECT_EQ(one.hash(), other.hash());
  EXPECT_EQ(std::hash<TRPlayer>{}(one), one.hash());
}

TEST(TRPlayer, OtherDiskNameMeansUnequal) {
  TRPlayer one;
  TRPlayer other;
  one.setDiskName("/dev/sdb");
  other.setDiskName("/dev/sdB");
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_NE(one.hash(), other.hash());
}

TEST(TRPlayer, WithoutADiskNameItEqualsNothingNotEvenItself) {
  const TRPlayer one;
  TRPlayer other;
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_FALSE(one.isEqual(one));
  other.setDiskName("/dev/sdb");
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_FALSE(other.isEqual(one));
  EXPECT_EQ(one.hash(), TRPlayer().hash());
}

// An object of another class with the same text.
class Namesake : public Object {
 public:
  std::optional<std::string> diskName() const { return "/dev/sdb"; }
};

TEST(TRPlayer, NeverEqualsAnObjectOfAnotherClass) {
  TRPlayer player;
  player.setDiskName("/dev/sdb");
  const Namesake other;
  EXPECT_FALSE(player.isEqual(other));
  EXPECT_FALSE(other.isEqual(player));
}

TEST(Object, EqualsItselfAloneAndHashesByIdentity) {
  const Namesake one;
  const Namesake other;
  EXPECT_TRUE(one.isEqual(one));
  EXPECT_FALSE(one == other);
  EXPECT_EQ(one.hash(), one.hash());
  EXPECT_NE(one.hash(), other.hash());
}

TEST_F(TRPlayerTest, IdentityIsTheNodeAndTheHandleAsUnsigned) {
  player->setIONumber(-1);
  EXPECT_EQ(player->identity().node, "/dev/sdb");
  EXPECT_EQ(player->identity().usbHandle, 0xFFFFFFFFU);
  EXPECT_EQ(TRPlayer().identity().node, "");
}

TEST_F(TRPlayerTest, RefreshStoresNameAndLocation) {
  volumeIs("NEW", "file:///media/NEW/");
  EXPECT_TRUE(refresh());
  EXPECT_EQ(player->name(), "NEW");
  EXPECT_EQ(player->path(), "file:///media/NEW/");
  EXPECT_EQ(ports.disks.namesAsked, Texts{"/dev/sdb"});
}

TEST_F(TRPlayerTest, RefreshWithoutAVolumeNameKeepsThePathSetsTheNameToNullAndFails) {
  volumeIs(std::nullopt, "file:///media/NEW/");
  EXPECT_FALSE(refresh());
  EXPECT_EQ(player->name(), std::nullopt);
  EXPECT_EQ(player->path(), "file:///media/NEW/");
}

TEST_F(TRPlayerTest, RefreshWithoutAPathSetsThePathToNullAndFails) {
  volumeIs("NEW", std::nullopt);
  EXPECT_FALSE(refresh());
  EXPECT_EQ(player->name(), "NEW");
  EXPECT_EQ(player->path(), std::nullopt);
}

TEST_F(TRPlayerTest, RefreshWithoutAVolumeSetsBothToNullAfterItsWaits) {
  EXPECT_FALSE(refresh());
  EXPECT_EQ(player->name(), std::nullopt);
  EXPECT_EQ(player->path(), std::nullopt);
  EXPECT_EQ(ports.clock.sleeps().size(), 200U);
}

TEST_F(TRPlayerTest, RefreshWithoutADiskSetsBothToNullAtOnce) {
  ports.disks.byName.clear();
  EXPECT_FALSE(refresh());
  EXPECT_EQ(player->name(), std::nullopt);
  EXPECT_EQ(player->path(), std::nullopt);
  EXPECT_TRUE(ports.clock.sleeps().empty());
}

TEST_F(TRPlayerTest, RefreshWithoutADiskNameAsksForNoDisk) {
  player->setDiskName(std::nullopt);
  EXPECT_FALSE(refresh());
  EXPECT_EQ(player->name(), std::nullopt);
  EXPECT_TRUE(ports.disks.namesAsked.empty());
}

TEST_F(TRPlayerTest, MountSetsTheFlagAndLogsWhenItHasCompleted) {
  player->mount();
  EXPECT_EQ(ports.disks.kinds(), Texts{"mount"});
  EXPECT_FALSE(player->isMounted());
  EXPECT_TRUE(ports.log.texts().empty());
  runAll();
  EXPECT_TRUE(player->isMounted());
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice /dev/sdb mounted\n"});
}

TEST_F(TRPlayerTest, UnmountClearsTheFlagAndLogsWhenItHasCompleted) {
  player->setIsMounted(true);
  player->unmount();
  EXPECT_EQ(ports.disks.kinds(), Texts{"unmount"});
  EXPECT_TRUE(player->isMounted());
  runAll();
  EXPECT_FALSE(player->isMounted());
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice /dev/sdb unmounted\n"});
}

TEST_F(TRPlayerTest, RefusedMountStillSetsTheFlagAndLogs) {
  refuseEverything();
  player->mount();
  runAll();
  EXPECT_TRUE(player->isMounted());
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice /dev/sdb mounted\n"});
}

TEST_F(TRPlayerTest, RefusedUnmountStillClearsTheFlagAndLogs) {
  refuseEverything();
  player->setIsMounted(true);
  player->unmount();
  runAll();
  EXPECT_FALSE(player->isMounted());
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice /dev/sdb unmounted\n"});
}

TEST_F(TRPlayerTest, TwoUnmountsInARowCompleteTwiceAndLogTwice) {
  player->unmount();
  player->unmount();
  runAll();
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "unmount"}));
  EXPECT_EQ(ports.log.texts(),
            (Texts{"\nDevice /dev/sdb unmounted\n", "\nDevice /dev/sdb unmounted\n"}));
}

TEST_F(TRPlayerTest, EjectUnmountsFirstAndLogsOnceWhenTheEjectIsRequested) {
  player->setIsMounted(true);
  player->eject();
  EXPECT_EQ(ports.disks.kinds(), Texts{"unmount"});
  EXPECT_TRUE(ports.log.texts().empty());
  ports.mainThread.runPending();
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "eject"}));
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice Ejected\n"});
  runAll();
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice Ejected\n"});
  EXPECT_TRUE(player->isMounted());
  EXPECT_TRUE(player->isEjecting());
}

TEST_F(TRPlayerTest, EjectIsRequestedAndLoggedOnceAfterARefusedUnmount) {
  refuseEverything();
  player->eject();
  runAll();
  EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "eject"}));
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice Ejected\n"});
}

TEST_F(TRPlayerTest, EjectIsLoggedAfterItsRequest) {
  std::size_t loggedAtRequest = 99;
  ports.disks.refuse = [&](const TestDisks::Request& request) -> std::optional<Dissenter> {
    if (request.kind == "eject") {
      loggedAtRequest = ports.log.texts().size();
    }
    return std::nullopt;
  };
  player->eject();
  runAll();
  EXPECT_EQ(loggedAtRequest, 0U);
}

TEST_F(TRPlayerTest, EveryRequestNamesTheDiskAndThePlayer) {
  player->mount();
  player->unmount();
  player->eject();
  runAll();
  ASSERT_EQ(ports.disks.kinds(), (Texts{"mount", "unmount", "unmount", "eject"}));
  for (const auto& request : ports.disks.requests) {
    EXPECT_EQ(request.disk, disk);
    EXPECT_EQ(request.expected.node, "/dev/sdb");
    EXPECT_EQ(request.expected.usbHandle, 0x00030004U);
  }
}

TEST_F(TRPlayerTest, RequestsShareTheSession) {
  const std::size_t opened = ports.disks.sessionsOpened;
  player->mount();
  player->eject();
  runAll();
  EXPECT_EQ(ports.disks.sessionsOpened, opened);
}

TEST_F(TRPlayerTest, DiskIsMadeAnewForEachRequest) {
  player->mount();
  const auto replacement = std::make_shared<TestDisk>();
  ports.disks.byName["sdb"] = replacement;
  player->mount();
  EXPECT_EQ(ports.disks.requests[0].disk, disk);
  EXPECT_EQ(ports.disks.requests[1].disk, replacement);
}

TEST_F(TRPlayerTest, RequestWithoutADiskObjectIsMadeAllTheSame) {
  ports.disks.byName.clear();
  player->mount();
  player->unmount();
  runAll();
  ASSERT_EQ(ports.disks.kinds(), (Texts{"mount", "unmount"}));
  EXPECT_EQ(ports.disks.requests[0].disk, nullptr);
  EXPECT_EQ(ports.disks.requests[1].disk, nullptr);
  EXPECT_EQ(ports.log.texts().size(), 2U);
}

TEST_F(TRPlayerTest, RequestWithoutADiskNameIsMadeAllTheSame) {
  player->setDiskName(std::nullopt);
  player->mount();
  runAll();
  EXPECT_EQ(ports.disks.kinds(), Texts{"mount"});
  EXPECT_EQ(ports.disks.requests[0].disk, nullptr);
  EXPECT_EQ(ports.disks.requests[0].expected.node, "");
  EXPECT_TRUE(ports.disks.namesAsked.empty());
  EXPECT_EQ(ports.log.texts(), Texts{"\nDevice (null) mounted\n"});
}

TEST_F(TRPlayerTest, PendingRequestsKeepTheirPlayer) {
  const std::weak_ptr<TRPlayer> watched = player;
  player->mount();
  player->unmount();
  player->eject();
  player.reset();
  EXPECT_FALSE(watched.expired());
  runAll();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(ports.log.texts(), (Texts{"\nDevice /dev/sdb mounted\n",
                                      "\nDevice /dev/sdb unmounted\n", "\nDevice Ejected\n"}));
}

TEST_F(TRPlayerTest, WorkerThatPollsSeesTheCompletion) {
  player->setIsMounted(true);
  bool seen = false;
  std::thread worker([&] {
    player->unmount();
    while (player->isMounted()) {
      ports.clock.sleep(std::chrono::seconds(1));
    }
    ports.mainThread.runAndWait([&] { seen = true; });
  });
  ports.mainThread.runUntil([&] { return seen; });
  worker.join();
  EXPECT_FALSE(player->isMounted());
}

}  // namespace
}  // namespace fillstation::test
