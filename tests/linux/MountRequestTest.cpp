#include "MountRequest.h"

#include "UDisksTest.h"

namespace fillstation::test {

class MountRequestTest : public UDisksTest {
 protected:
  std::string mount(const DiskIdentity& identity) { return ask(&DiskSession::mount, identity); }
};

TEST_F(MountRequestTest, WaitsHalfAMinuteInQuarterSeconds) {
  EXPECT_EQ(MountPatience().pause * MountPatience().pauses, std::chrono::seconds(30));
  EXPECT_EQ(MountPatience().pause, std::chrono::milliseconds(250));
}

TEST_F(MountRequestTest, AVolumeThatIsMountedAlreadyIsASuccess) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  EXPECT_EQ(mount(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members());
}

TEST_F(MountRequestTest, AnAutomounterThatWasFasterIsASuccess) {
  const auto identity = rig.plugIn("a");
  answer({error("org.freedesktop.UDisks2.Error.AlreadyMounted")});
  EXPECT_EQ(mount(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Mount"}));
}

TEST_F(MountRequestTest, TriesAgainWhileUDisks2KnowsNoFileSystem) {
  const auto identity = rig.plugIn("a");
  answer({error(kNotThere), error(kNotThere), error(kNotThere)});
  EXPECT_EQ(mount(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members(4, "Filesystem.Mount"));
  EXPECT_TRUE(rig.machine.isMounted(player().minor));
}

TEST_F(MountRequestTest, PatienceEnds) {
  rig.services.patience.pauses = 2;
  const auto identity = rig.plugIn("a");
  answer({error(kNotThere), error(kNotThere), error(kNotThere)});
  EXPECT_EQ(mount(identity), std::string(kNotThere) + ": So it is.");
  EXPECT_EQ(rig.udisks.members(), Members(3, "Filesystem.Mount"));
}

TEST_F(MountRequestTest, AnyOtherErrorIsFinal) {
  const auto identity = rig.plugIn("a");
  answer({error(kBusy)});
  EXPECT_EQ(mount(identity), std::string(kBusy) + ": So it is.");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Mount"}));
}

TEST_F(MountRequestTest, ABlankMediumIsWaitedForAndRefused) {
  player().fileSystem = std::nullopt;
  EXPECT_EQ(mount(rig.plugIn("a")), "No file system has been found.");
  EXPECT_EQ(rig.udisks.members(), Members());
}

TEST_F(MountRequestTest, TheFirstPartitionIsMountedWhereTheDiskItselfHasNoFileSystem) {
  player().fileSystem = std::nullopt;
  const auto identity = rig.plugIn("a");
  rig.machine.kernel.addPartition(player().diskPath, "sdb1", 1, 17);
  rig.machine.kernel.setUdevDatabase("b8:17", databaseOf(MockFileSystem()));
  answer({UDisksAnswer()});
  EXPECT_EQ(mount(identity), "");
  ASSERT_EQ(rig.udisks.calls.size(), 1U);
  EXPECT_EQ(rig.udisks.calls[0].path, "/org/freedesktop/UDisks2/block_devices/sdb1");
}

TEST_F(MountRequestTest, AfterAWipeTheFreshFileSystemIsWaitedFor) {
  rig.services.patience.pauses = 1'000'000;
  const auto identity = rig.plugIn("a");
  const auto disk = rig.createSession()->diskFromName(identity.node);
  rig.known.willWipe(identity);
  const auto outcome = send(&DiskSession::mount, identity);
  int looks = 0;
  runLoopUntil([&] { return ++looks > 20; });
  EXPECT_FALSE(outcome->completed);
  EXPECT_EQ(rig.udisks.members(), Members());
  EXPECT_FALSE(disk->copyDescription()->volumeName);
  rig.machine.setFileSystem(player(), MockFileSystem{"vfat", "2222-BBBB", {}});
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_EQ(outcome->refused, "");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Mount"}));
  EXPECT_EQ(disk->copyDescription()->volumeName, "NO NAME");
}

// A file system whose signature the wipe doesn't reach shows once what was before it has gone.
TEST_F(MountRequestTest, AfterAWipeNothingButFatIsMounted) {
  const auto identity = rig.plugIn("a");
  rig.known.willWipe(identity);
  rig.machine.setFileSystem(player(), MockFileSystem{"btrfs", "3333-CCCC", {}});
  EXPECT_EQ(mount(identity), "No file system has been found.");
  EXPECT_EQ(rig.udisks.members(), Members());
}

TEST_F(MountRequestTest, AnOldMountAfterAWipeIsNotTakenForTheFreshVolume) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  rig.known.willWipe(identity);
  EXPECT_EQ(mount(identity), "No file system has been found.");
}

TEST_F(MountRequestTest, APlayerThatIsPulledWhileItIsWaitedForIsRefused) {
  rig.services.patience.pauses = 1'000'000;
  player().fileSystem = std::nullopt;
  const auto identity = rig.plugIn("a");
  const auto outcome = send(&DiskSession::mount, identity);
  runLoopDry();
  EXPECT_FALSE(outcome->completed);
  rig.machine.pull("a");
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_EQ(outcome->refused, "The disk has gone.");
}

TEST_F(MountRequestTest, AForeignDiskOfTheSameNameIsNotMounted) {
  const auto identity = rig.plugIn("a");
  answer({error(kNotThere)});
  const auto outcome = send(&DiskSession::mount, identity);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  rig.machine.pull("a");
  rig.machine.isTaken = [](const std::string&) { return false; };
  EXPECT_EQ(rig.machine.plug("b").diskName, "sdb");
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_EQ(outcome->refused, "The disk belongs to another USB device.");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Mount"}));
}

}  // namespace fillstation::test
