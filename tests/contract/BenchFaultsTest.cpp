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
    return succeeds(DiskRequest::unmount, identity);
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
  const auto refusal = [&](const std::shared_ptr<Disk>& disk, const DiskIdentity& expected) {
    std::optional<std::string> reason;
    session->request(DiskRequest::unmount, disk, expected,
                     [&reason](const auto& /*asked*/, const Dissenter* dissenter) {
                       reason = dissenter != nullptr ? dissenter->reason : "";
                     });
    EXPECT_TRUE(backEnd->await([&] { return reason.has_value(); }));
    return reason.value_or("");
  };
  EXPECT_EQ(refusal(nullptr, identity), "There is no such disk.");
  EXPECT_EQ(refusal(diskOf(identity), {identity.node, 0}), "The disk is not the expected one.");
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
    bench->plug("a");
    disks.emplace(bench->folder.path(),
                  BenchServices{bench->stop, bench->mainThread, clock, bench->workers, bench->log});
    const auto attached = disks->attach("a");
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
  EXPECT_FALSE(unmounts());
  EXPECT_EQ(mountPath(identity), root);
}

}  // namespace

}  // namespace fillstation::contract
