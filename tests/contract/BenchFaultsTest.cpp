#include <fcntl.h>

#include <cerrno>
#include <fstream>

#include "BenchBackEnd.h"
#include "BenchDisks.h"
#include "BenchVolume.h"
#include "ScriptCompiler.h"

namespace fillstation::contract {

namespace {

// The facts about these faults that the table of tests/faults doesn't show.
class BenchFaultsTest : public BenchTest {
 protected:
  // Whether the volume, which is no longer open, can be unmounted.
  bool unmounts() {
    volume.reset();
    const bool done = succeeds(DiskRequest::unmount, identity);
    EXPECT_NE(std::filesystem::exists(root), done);
    return done;
  }

  // Why a request is refused; empty when it isn't.
  std::string refusal(DiskRequest request, const std::shared_ptr<Disk>& disk,
                      const DiskIdentity& expected) {
    Outcome outcome;
    session->request(request, disk, expected, noting(outcome));
    EXPECT_TRUE(backEnd->await([&] { return outcome.completed; }));
    return outcome.refused.value_or("");
  }
  std::string refusal(DiskRequest request) { return refusal(request, diskOf(identity), identity); }

  // Why a command isn't run: the number and the text.
  std::pair<std::int64_t, std::string> failureOf(const std::string& command) {
    const ScriptOutcome outcome = runAsAdministrator(command, identity);
    EXPECT_FALSE(outcome.result);
    return {outcome.errorNumber.value_or(0), outcome.errorMessage.value_or("")};
  }
};
INSTANTIATE_TEST_SUITE_P(Bench, BenchFaultsTest, ::testing::Values(kBench), nameOfKind);

TEST_P(BenchFaultsTest, ARefusedFormatFailsWithTheToolsOwnWordsAndLeavesTheImage) {
  plan.identity.faults.refuseFormat = true;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  EXPECT_TRUE(runAsAdministrator(wipeCommand(identity.node), identity).result);
  const ScriptOutcome outcome = runAsAdministrator(formatCommand(identity.node), identity);
  EXPECT_FALSE(outcome.result);
  EXPECT_EQ(outcome.errorNumber, 1);
  EXPECT_NE(outcome.errorMessage.value_or("").find("mkfs.fat: "), std::string::npos);
  EXPECT_EQ(outcome.errorMessage->find("/proc/"), std::string::npos);
  EXPECT_FALSE(succeeds(DiskRequest::mount, identity));
  EXPECT_EQ(bench->mediumSize("a"), 64 * 1024 * 1024);
}

TEST_P(BenchFaultsTest, PulledDuringTheWipeWhenHalfIsThere) {
  plan.identity.faults.pull = PullMoment::kDuringWipe;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  bench->writeHead("a", std::string(40960, 'm'));
  const ScriptOutcome outcome = runAsAdministrator(wipeCommand(identity.node), identity);
  EXPECT_FALSE(outcome.result);
  EXPECT_EQ(outcome.errorNumber, ScriptError::kNotThePlayer);
  EXPECT_EQ(outcome.errorMessage, "The device has gone.");
  EXPECT_TRUE(isPulled());
  EXPECT_EQ(bench->head("a", 40960), std::string(20480, '\0') + std::string(20480, 'm'));
}

TEST_P(BenchFaultsTest, ARefusalSaysWhy) {
  plugPlanMounted();
  EXPECT_EQ(refusal(DiskRequest::unmount, nullptr, identity), "There is no such disk.");
  EXPECT_EQ(refusal(DiskRequest::unmount, diskOf(identity), {identity.node, 0}),
            "The disk is not the expected one.");
  EXPECT_EQ(refusal(DiskRequest::unmount), "The volume is in use.");
  EXPECT_EQ(failureOf(wipeCommand(identity.node)),
            std::pair(ScriptError::kNotThePlayer, std::string("The disk is mounted.")));
  volume.reset();
  EXPECT_EQ(refusal(DiskRequest::eject), "");
  EXPECT_EQ(refusal(DiskRequest::mount), "There is no medium.");
}

TEST_P(BenchFaultsTest, AMountThatIsRefusedSaysWhy) {
  plan.identity.faults.refuseMount = true;
  plugPlan();
  EXPECT_EQ(refusal(DiskRequest::mount), "The volume refuses to be mounted.");
}

TEST_P(BenchFaultsTest, ADiskThatIsNotAPlayersIsRefusedWithItsReason) {
  plan.identity.vendor = "OTHER";
  plan.blank = true;
  plugPlan();
  EXPECT_EQ(failureOf(wipeCommand(identity.node)),
            std::pair(ScriptError::kNotThePlayer, std::string("The disk is not a player.")));
}

TEST_P(BenchFaultsTest, AMediumThatIsReadOnlyFromTheBeginningRefusesTheCommandsLikeATool) {
  plan.identity.faults.readOnlyAfterBytes = 0;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  EXPECT_EQ(failureOf(wipeCommand(identity.node)),
            std::pair(std::int64_t{1}, std::string("Read-only file system")));
}

TEST_P(BenchFaultsTest, PulledBeforeTheUnmountItHasGone) {
  plan.identity.faults.pull = PullMoment::kBeforeUnmount;
  plugPlanMounted();
  volume.reset();
  EXPECT_EQ(refusal(DiskRequest::unmount), "The device has gone.");
}

TEST_P(BenchFaultsTest, PulledBeforeTheMountItIsNotMounted) {
  plan.identity.faults.pull = PullMoment::kBeforeMount;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  EXPECT_EQ(refusal(DiskRequest::mount), "The device has gone.");
  EXPECT_TRUE(std::filesystem::is_empty(bench->folder.path("volumes")));
}

TEST_P(BenchFaultsTest, PulledDuringTheMountItHasGone) {
  plan.identity.faults.pull = PullMoment::kDuringMount;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  EXPECT_EQ(refusal(DiskRequest::mount), "The device has gone.");
  EXPECT_TRUE(isPulled());
}

TEST_P(BenchFaultsTest, AnotherProgramMountsItAfterTheFormat) {
  plan.identity.faults.remount = RemountMoment::kAfterFormat;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  EXPECT_TRUE(runAsAdministrator(wipeCommand(identity.node), identity).result);
  EXPECT_FALSE(mountPath(identity));
  EXPECT_TRUE(runAsAdministrator(formatCommand(identity.node), identity).result);
  EXPECT_TRUE(mountPath(identity));
}

TEST_P(BenchFaultsTest, AnotherProgramDoesNotMountItAfterAFormatThatFailed) {
  plan.identity.faults.remount = RemountMoment::kAfterFormat;
  plan.identity.faults.refuseFormat = true;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  EXPECT_FALSE(runAsAdministrator(formatCommand(identity.node), identity).result);
  EXPECT_FALSE(mountPath(identity));
}

TEST_P(BenchFaultsTest, PulledDuringTheFormatItHasGone) {
  plan.identity.faults.pull = PullMoment::kDuringFormat;
  plugPlanMounted();
  EXPECT_TRUE(unmounts());
  const ScriptOutcome outcome = runAsAdministrator(formatCommand(identity.node), identity);
  EXPECT_EQ(outcome.errorNumber, ScriptError::kNotThePlayer);
}

TEST_P(BenchFaultsTest, PulledDuringTheFlushWhenHalfIsThere) {
  plan.identity.faults.pull = PullMoment::kDuringFlush;
  plugPlanMounted();
  EXPECT_TRUE(copy("1", "1.mp3"));
  EXPECT_TRUE(copy("2", "2.mp3"));
  EXPECT_FALSE(isPulled());
  EXPECT_FALSE(volume->flush());
  EXPECT_TRUE(isPulled());
  EXPECT_EQ(bench->content("a"), std::vector<OnMedium>({{"1.mp3", "1"}}));
}

TEST_P(BenchFaultsTest, AMediumThatTurnsReadOnlyLosesUnwrittenData) {
  plan.identity.faults.readOnlyAfterBytes = 10;
  plugPlanMounted();
  EXPECT_TRUE(copy("123456789", "1.mp3"));
  EXPECT_TRUE(volume->flush());
  EXPECT_TRUE(volume->createDirectory(root + "/d"));
  EXPECT_FALSE(copy("1", "2.mp3") && volume->flush());
  EXPECT_FALSE(copy("1", "3.mp3"));
  EXPECT_FALSE(copy("", "4.mp3"));
  EXPECT_FALSE(volume->createDirectory(root + "/e"));
  EXPECT_FALSE(volume->flush());
  EXPECT_FALSE(isPulled());
  EXPECT_TRUE(unmounts());
  EXPECT_EQ(bench->content("a"), std::vector<OnMedium>({{"1.mp3", "123456789"}}));
}

// The medium of a mounted player, over a clock that notes the pauses.
class BenchMediumTest : public BenchFaultsTest {
 protected:
  std::shared_ptr<VolumeMedium> medium() {
    bench->make(plan);
    bench->plug(plan.name);
    disks.emplace(bench->folder.path(),
                  BenchServices{bench->stop, bench->mainThread, clock, bench->workers, bench->log});
    const auto attached = disks->attach(plan.name);
    const auto& player = std::get<std::shared_ptr<BenchPlayer>>(attached);
    identity = {player->node(), player->place().handle};
    root = disks->remount(identity, "").value();
    const FileHandle folder(::open(root.c_str(), O_RDONLY | O_CLOEXEC));
    return disks->mediumOf(folder.get(), root, identity);
  }

  test::TestMainThread testThread;
  test::TestClock clock{testThread};
  std::optional<BenchDisks> disks;
};
INSTANTIATE_TEST_SUITE_P(Bench, BenchMediumTest, ::testing::Values(kBench), nameOfKind);

TEST_P(BenchMediumTest, TheSpeedLimitIsAPauseOfTheClock) {
  plan.identity.faults.bytesPerSecond = 2'000'000;
  const auto limited = medium();
  EXPECT_EQ(limited->admitBytes(1'000'000), 0);
  EXPECT_EQ(limited->admitBytes(1), 0);
  EXPECT_EQ(clock.sleeps(), std::vector<std::int64_t>({500'000, 0}));
}

TEST_P(BenchMediumTest, TheSlowestPlayerTakesOneByteASecond) {
  plan.identity.faults.bytesPerSecond = 1;
  EXPECT_EQ(medium()->admitBytes(3), 0);
  EXPECT_EQ(clock.sleeps(), std::vector<std::int64_t>({3'000'000}));
}

TEST_P(BenchMediumTest, AFaultAfterSomeBytesIsAtTheNextByte) {
  plan.identity.faults.failAfterBytes = 10;
  const auto failing = medium();
  EXPECT_EQ(failing->admitBytes(10), 0);
  EXPECT_EQ(failing->admitBytes(1), EIO);
  plan.name = "b";
  plan.identity.faults = {};
  plan.identity.faults.pull = PullMoment::kAfterBytes;
  plan.identity.faults.pullAfterBytes = 10;
  const auto pulled = medium();
  EXPECT_EQ(pulled->admitBytes(10), 0);
  EXPECT_EQ(pulled->admitBytes(1), ENODEV);
  plan.name = "c";
  plan.identity.faults = {};
  plan.identity.faults.failAfterBytes = 0;
  EXPECT_EQ(medium()->admitBytes(1), EIO);
}

TEST_P(BenchMediumTest, OnlyTheVolumeThatCanBeMountedAgainIsMountedAgain) {
  plan.identity.faults.lie = Lie::kDrops;
  auto lying = medium();
  EXPECT_EQ(disks->remount(identity, "/as/it/was"), "/as/it/was");  // it is open
  EXPECT_EQ(disks->remount({identity.node, 0}, root), std::nullopt);
  EXPECT_EQ(lying->admitBytes(1), 0);
  lying.reset();
  EXPECT_EQ(disks->remount(identity, root), std::nullopt);
}

TEST_P(BenchMediumTest, NothingCreatedOnAPlayerThatHasGoneReachesItsImage) {
  const auto left = medium();
  EXPECT_EQ(left->admitBytes(1'000'000), 0);
  EXPECT_TRUE(clock.sleeps().empty());
  std::ofstream(root + "/late.mp3").close();
  std::filesystem::resize_file(root + "/late.mp3", 17 << 20);
  bench->unplug("a");
  left->created("late.mp3");
  EXPECT_EQ(bench->content("a"), std::vector<OnMedium>());
  EXPECT_EQ(left->admitBytes(1), ENODEV);
  EXPECT_EQ(left->admit("x", 1), ENODEV);
  EXPECT_EQ(left->admit("x", std::nullopt), ENODEV);
}

TEST_P(BenchFaultsTest, AClosedVolumeAcceptsNothing) {
  bench->make(plan);
  const FileHandle image(::open(bench->image("a").c_str(), O_RDWR | O_CLOEXEC));
  const auto mounted = BenchVolume::mount(image.get(), bench->folder.path("volumes"));
  const auto closed = std::get<std::shared_ptr<BenchVolume>>(mounted);
  EXPECT_EQ(closed->admit("x", 1), 0);
  closed->close();
  EXPECT_EQ(closed->admit("x", 1), ENODEV);
  EXPECT_EQ(closed->admit("d", std::nullopt), ENODEV);
  EXPECT_FALSE(closed->flush());
}

TEST_P(BenchFaultsTest, DataThatCannotBeWrittenIsNotFlushed) {
  plugPlanMounted();
  EXPECT_TRUE(copy("x", "x.mp3"));
  EXPECT_TRUE(copy("y", "y.mp3"));
  std::filesystem::remove(root + "/x.mp3");
  EXPECT_FALSE(volume->flush());
  EXPECT_FALSE(volume->flush());
  volume.reset();
  EXPECT_EQ(refusal(DiskRequest::unmount), "What was copied can't be written.");
  EXPECT_EQ(mountPath(identity), root);
}

}  // namespace

}  // namespace fillstation::contract
