#include "TRPlayer.h"

#include <gtest/gtest.h>

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
  // The result and the effect of a refresh.
  std::string refreshed() {
    const StdCapture quiet(stdout);
    const bool found = player->refresVolumeInfo();
    return formatText("%s: %s at %s", found ? "found" : "not found", player->name(),
                      player->path());
  }
  std::string refreshedWith(std::optional<std::string> name, std::optional<std::string> path) {
    disk->describe = [description = describedAs(name, path)](std::size_t) { return description; };
    return refreshed();
  }

  TestPlatform ports;
  std::shared_ptr<TestDisk> disk = std::make_shared<TestDisk>();
  std::shared_ptr<TRPlayer> player = std::make_shared<TRPlayer>();
};

// Every property but the selection, which is one of two numbers.
std::string textOfAll(const TRPlayer& player) {
  return formatText("%@ %@ %@ %@ %@ %@ %@", player.name(), player.path(), player.size(),
                    player.diskName(), std::to_string(player.IONumber()),
                    player.isMounted() ? "mounted" : "not mounted",
                    player.isEjecting() ? "ejecting" : "not ejecting");
}

TEST(TRPlayer, NewPlayerIsEmptyNotSelectedNotMountedAndEjecting) {
  const TRPlayer player;
  EXPECT_EQ(textOfAll(player), "Empty Empty (null) (null) 0 not mounted ejecting");
  EXPECT_TRUE(player.selected());
  EXPECT_FALSE(player.selected().isTrue());
}

TEST(TRPlayer, PropertiesKeepTheirValues) {
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
  EXPECT_EQ(textOfAll(player), "n p 5 d -7 mounted not ejecting");
  EXPECT_TRUE(player.size().isSame(size));
  EXPECT_TRUE(player.selected().isSame(selected));
}

TEST(TRPlayer, EqualityAndHashFollowTheDiskNameAlone) {
  TRPlayer one;
  TRPlayer other;
  EXPECT_FALSE(one.isEqual(one)) << "without a disk name";
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_EQ(one.hash(), other.hash());
  one.setDiskName("/dev/sdb");
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_FALSE(other.isEqual(one));
  other.setDiskName("/dev/sdB");
  EXPECT_FALSE(one == other);
  EXPECT_NE(one.hash(), other.hash());
  other.setDiskName("/dev/sdb");
  other.setName("another");
  other.setIONumber(9);
  EXPECT_TRUE(one.isEqual(other));
  EXPECT_TRUE(one == other);
  EXPECT_EQ(one.hash(), other.hash());
  EXPECT_EQ(std::hash<TRPlayer>{}(one), one.hash());
}

TEST_F(TRPlayerTest, IdentityIsTheNodeAndTheHandleAsUnsigned) {
  player->setIONumber(-1);
  EXPECT_EQ(player->identity().node, "/dev/sdb");
  EXPECT_EQ(player->identity().usbHandle, 0xFFFFFFFFU);
  EXPECT_EQ(TRPlayer().identity().node, "");
}

TEST_F(TRPlayerTest, RefreshStoresItsResultsAndNeedsBoth) {
  EXPECT_EQ(refreshedWith("NEW", "file:///NEW/"), "found: NEW at file:///NEW/");
  EXPECT_EQ(ports.disks.namesAsked, Texts{"/dev/sdb"});
  EXPECT_EQ(refreshedWith(std::nullopt, "file:///A/"), "not found: (null) at file:///A/");
  EXPECT_EQ(refreshedWith("B", std::nullopt), "not found: B at (null)");
  ports.disks.byName.clear();
  EXPECT_EQ(refreshed(), "not found: (null) at (null)");
  ports.disks.namesAsked.clear();
  player->setName("old");
  player->setDiskName(std::nullopt);
  EXPECT_EQ(refreshed(), "not found: (null) at (null)");
  EXPECT_TRUE(ports.disks.namesAsked.empty());
  EXPECT_TRUE(ports.clock.sleeps().empty());
}

// Granted and refused.
TEST_F(TRPlayerTest, MountAndUnmountSetTheFlagAndLogWhenTheyHaveCompleted) {
  for (int round = 0; round < 2; ++round) {
    ports.log.clear();
    ports.disks.requests.clear();
    player->mount();
    EXPECT_EQ(ports.disks.kinds(), Texts{"mount"});
    EXPECT_FALSE(player->isMounted());
    EXPECT_TRUE(ports.log.texts().empty());
    runAll();
    EXPECT_TRUE(player->isMounted());
    EXPECT_EQ(ports.log.texts(), Texts{"\nDevice /dev/sdb mounted\n"});
    player->unmount();
    EXPECT_EQ(ports.disks.kinds(), (Texts{"mount", "unmount"}));
    EXPECT_TRUE(player->isMounted());
    runAll();
    EXPECT_FALSE(player->isMounted());
    EXPECT_EQ(ports.log.texts(),
              (Texts{"\nDevice /dev/sdb mounted\n", "\nDevice /dev/sdb unmounted\n"}));
    refuseEverything();
  }
}

// Granted and refused.
TEST_F(TRPlayerTest, EjectUnmountsFirstAndLogsOnceWhenTheEjectIsRequested) {
  std::size_t loggedAtRequest = 99;
  for (const bool refuses : {false, true}) {
    ports.disks.refuse = [&](const TestDisks::Request& request) {
      loggedAtRequest = request.kind == "eject" ? ports.log.texts().size() : 99;
      return refuses ? std::optional(Dissenter{"busy"}) : std::nullopt;
    };
    ports.log.clear();
    ports.disks.requests.clear();
    player->setIsMounted(true);
    player->eject();
    EXPECT_EQ(ports.disks.kinds(), Texts{"unmount"});
    EXPECT_TRUE(ports.log.texts().empty());
    runAll();
    EXPECT_EQ(ports.disks.kinds(), (Texts{"unmount", "eject"}));
    EXPECT_EQ(loggedAtRequest, 0U);
    EXPECT_EQ(ports.log.texts(), Texts{"\nDevice Ejected\n"});
    EXPECT_TRUE(player->isMounted());
    EXPECT_TRUE(player->isEjecting());
  }
}

TEST_F(TRPlayerTest, EveryRequestNamesTheDiskAndThePlayerInTheSharedSession) {
  const std::size_t opened = ports.disks.sessionsOpened;
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
  EXPECT_EQ(ports.disks.sessionsOpened, opened);
}

TEST_F(TRPlayerTest, EachRequestHasANewDiskObjectOrNone) {
  const auto replacement = std::make_shared<TestDisk>();
  ports.disks.byName["sdb"] = replacement;
  player->mount();
  EXPECT_EQ(ports.disks.requests.back().disk, replacement);
  ports.disks.byName.clear();
  player->mount();
  EXPECT_EQ(ports.disks.requests.back().disk, nullptr);
  player->unmount();
  EXPECT_EQ(ports.disks.requests.back().disk, nullptr);
  ports.disks.namesAsked.clear();
  player->setDiskName(std::nullopt);
  player->mount();
  EXPECT_EQ(ports.disks.requests.back().disk, nullptr);
  EXPECT_EQ(ports.disks.requests.back().expected.node, "");
  EXPECT_TRUE(ports.disks.namesAsked.empty());
  runAll();
  EXPECT_EQ(ports.log.texts().size(), 4U);
  EXPECT_EQ(ports.log.texts().back(), "\nDevice (null) mounted\n");
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

}  // namespace
}  // namespace fillstation::test
