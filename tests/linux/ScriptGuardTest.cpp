#include <cstdlib>
#include <filesystem>
#include <string>

#include "ScriptGuardRig.h"

namespace fillstation::test {
namespace {

constexpr auto kWipe = PlayerCommand::wipe;
constexpr auto kFormat = PlayerCommand::format;

// The guard of the privileged side, run by the real shell.
class ScriptGuardTest : public testing::Test, protected GuardRig {
 protected:
  // Neither command runs, and the disk is as it was.
  void expectRefused(const std::string& why, const std::string& name = "sdz") {
    for (const auto kind : {kWipe, kFormat}) {
      const auto result = run(kind, name);
      EXPECT_EQ(result.exitStatus, kGuardRefusal);
      EXPECT_EQ(result.err, why + "\n");
      EXPECT_EQ(result.out, "");
    }
    EXPECT_EQ(content(), std::string(kNodeSize, 'x'));
    EXPECT_EQ(logged(), "");
  }
  void expectGone() { expectRefused("The device has gone."); }
  void expectAllowed() {
    EXPECT_EQ(run(kWipe).exitStatus, 0);
    EXPECT_EQ(run(kFormat).exitStatus, 0);
    EXPECT_TRUE(content().starts_with(std::string("FAT32\0", 6)));
  }
};

TEST_F(ScriptGuardTest, ThePlayersHeadIsWiped) {
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(content(), std::string(40960, '\0'));
  EXPECT_EQ(logged(), "");
}

TEST_F(ScriptGuardTest, ThePlayerIsFormattedAfterItsTableWasReadAnew) {
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_TRUE(content().starts_with("FAT32x"));
  EXPECT_EQ(logged(), "blockdev --rereadpt /dev/fd/9\nmkfs.fat -F32 /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, TheFactsPrecedeTheScript) {
  EXPECT_EQ(guardedCommand(kWipe, {"/dev/sdb", 0x3007F}, 1ull << 40, "rest"),
            "node=/dev/sdb\nbus=3\ndevice=127\nsequence=1099511627776\nkind=wipe\nrest");
  EXPECT_EQ(guardedCommand(kFormat, {"/dev/sdc", 0}, 0, "rest"),
            "node=/dev/sdc\nbus=0\ndevice=0\nsequence=0\nkind=format\nrest");
  EXPECT_TRUE(guardedCommand(kWipe, {"/dev/sdb", 0x3007F}, 1).ends_with(guardScript()));
}

TEST_F(ScriptGuardTest, ANodeThatIsNotThereIsRefusedAndNotMade) {
  expectRefused("The device has gone.", "sdy");
  EXPECT_FALSE(std::filesystem::exists(node("sdy")));
}

TEST_F(ScriptGuardTest, ANodeThatIsNoBlockDeviceIsRefused) {
  ::chmod(node().c_str(), 0600);
  expectGone();
}

TEST_F(ScriptGuardTest, ADiskThatTheKernelDoesNotKnowIsRefused) {
  std::filesystem::remove(path("sys/dev/block/8:400"));
  expectGone();
}

TEST_F(ScriptGuardTest, ADiskThatHasLeftTheKernelsTreeIsRefused) {
  std::filesystem::remove_all(disk());
  expectGone();
}

TEST_F(ScriptGuardTest, ANameThatLeadsToAnotherDiskIsRefused) {
  addPlayer("sdy", "8:384", 77);
  std::filesystem::remove(node());
  std::filesystem::create_symlink(node("sdy"), node());
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_EQ(result.err, "The device has gone.\n");
  EXPECT_EQ(content("sdy"), std::string(kNodeSize, 'x'));
}

TEST_F(ScriptGuardTest, AnotherDiskOfThatNameIsRefused) {
  put(disk() + "/diskseq", "78\n");
  expectGone();
}

TEST_F(ScriptGuardTest, ADiskWithoutASequenceNumberIsRefused) {
  std::filesystem::remove(disk() + "/diskseq");
  expectGone();
}

TEST_F(ScriptGuardTest, AnotherBusIsRefused) {
  put(usbDevice() + "/busnum", "2\n");
  expectGone();
}

TEST_F(ScriptGuardTest, AnotherDeviceNumberIsRefused) {
  put(usbDevice() + "/devnum", "13\n");
  expectGone();
}

TEST_F(ScriptGuardTest, OnlyTheNearestUsbDeviceCounts) {
  put(usbDevice() + "/sdz/busnum", "1\n");
  put(usbDevice() + "/sdz/devnum", "14\n");
  expectGone();
}

TEST_F(ScriptGuardTest, ADiskBelowNoUsbDeviceIsRefused) {
  for (const std::string& folder : {usbDevice(), path("sys/devices/usb1")}) {
    std::filesystem::remove(folder + "/busnum");
  }
  expectGone();
}

TEST_F(ScriptGuardTest, AnotherVendorIsRefused) {
  for (const char* vendor : {"ACTION  \n", "ACTIONSX\n", " ACTIONS\n", "actions \n", "\n"}) {
    put(scsi() + "/vendor", vendor);
    expectRefused("The disk is not a player.");
  }
  std::filesystem::remove(scsi() + "/vendor");
  expectRefused("The disk is not a player.");
}

TEST_F(ScriptGuardTest, AMountedDiskIsRefused) {
  addMount("8:400", "/dev/disk/by-label/X");
  expectRefused("The disk is mounted.");
}

TEST_F(ScriptGuardTest, AMountedPartitionIsRefused) {
  addPartition("sdz1", "8:401");
  addPartition("sdz2", "259:7");
  addMount("259:7", "somewhere");
  expectRefused("The disk is mounted.");
}

TEST_F(ScriptGuardTest, AMountUnderANumberOfItsOwnIsRefusedByItsSource) {
  addPartition("sdz1", "8:401");
  addMount("0:51", "/dev/sdz1");
  expectRefused("The disk is mounted.");
}

TEST_F(ScriptGuardTest, MountsAndSwapsOfOthersDontMatter) {
  addMount("8:40", "/dev/sdzz");
  addMount("8:4001", "/dev/sd");
  addMount("18:400", "/dev/sdz3");
  put(path("proc/swaps"), "Filename\tType\n/dev/sdzz file\n/dev/sdz3 partition\n");
  expectAllowed();
}

TEST_F(ScriptGuardTest, AListOfSwapsThatCantBeReadIsRefused) {
  std::filesystem::remove(path("proc/swaps"));
  std::filesystem::create_directory(path("proc/swaps"));
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_TRUE(result.err.ends_with("The list of swaps is missing.\n")) << result.err;
}

TEST_F(ScriptGuardTest, ASystemWithoutSwapsIsFine) {
  std::filesystem::remove(path("proc/swaps"));
  expectAllowed();
}

// A shell takes it for a pattern of paths unless it is told not to.
TEST_F(ScriptGuardTest, ALineOfTheMountTableIsReadAsItStands) {
  const std::string line = path("40") + " 22 0:60 / /media/x rw - vfat /dev/sd";
  std::filesystem::create_directories(line + "z rw");
  put(path("proc/self/mountinfo"), line + "? rw\n");
  expectAllowed();
}

TEST_F(ScriptGuardTest, AFolderNamedLikeThePlayerIsNoMountOfIt) {
  put(path("proc/self/mountinfo"), "40 22 254:0 /dev/sdz /media/x rw - ext4 /dev/vda rw\n");
  expectAllowed();
}

TEST_F(ScriptGuardTest, ASwappedDiskOrPartitionIsRefused) {
  addPartition("sdz1", "8:401");
  for (const char* line : {"/dev/sdz1 partition\t1\n", "/dev/sdz\tpartition\t1\n"}) {
    put(path("proc/swaps"), std::string("Filename\tType\n") + line);
    expectRefused("The disk is in use.");
  }
}

TEST_F(ScriptGuardTest, ADiskUnderAnotherBlockDeviceIsRefused) {
  addHolder(disk());
  expectRefused("The disk is in use.");
}

TEST_F(ScriptGuardTest, APartitionUnderAnotherBlockDeviceIsRefused) {
  addPartition("sdz1", "8:401");
  addHolder(disk() + "/sdz1");
  expectRefused("The disk is in use.");
}

TEST_F(ScriptGuardTest, AnUnknownNumberOfAPartitionIsRefused) {
  addPartition("sdz1", "8:401");
  std::filesystem::remove(disk() + "/sdz1/dev");
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_TRUE(result.err.ends_with("The device has gone.\n"));
  EXPECT_EQ(content(), std::string(kNodeSize, 'x'));
}

TEST_F(ScriptGuardTest, AMissingMountTableIsRefused) {
  std::filesystem::remove(path("proc/self/mountinfo"));
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_TRUE(result.err.ends_with("The mount table is missing.\n"));
  EXPECT_EQ(content(), std::string(kNodeSize, 'x'));
}

TEST_F(ScriptGuardTest, FilesBesideThePartitionsAreNoPartitions) {
  put(disk() + "/sdz_stat/dev", "8:402\n");
  addMount("8:402", "somewhere");
  expectAllowed();
}

TEST_F(ScriptGuardTest, ADiskThatSomebodyHasClaimedIsNotWiped) {
  addTool("perl", "exit 1");
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_EQ(result.err, "The disk is in use.\n");
  EXPECT_EQ(content(), std::string(kNodeSize, 'x'));
}

TEST_F(ScriptGuardTest, ANodeSwappedBetweenCheckAndWipeDoesNotRedirectTheWrite) {
  addTool("dd", "mv '" + node() + "' '" + path("dev/old") + "'\nmv '" + path("dev/foreign") +
                    "' '" + node() + "'\nexec /usr/bin/dd \"$@\"");
  addNode("foreign", "8:400");
  const auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, 0) << result.err;
  EXPECT_EQ(content(), std::string(kNodeSize, 'x'));
  EXPECT_EQ(content("old"), std::string(40960, '\0'));
}

TEST_F(ScriptGuardTest, ANodeSwappedBetweenCheckAndFormatDoesNotRedirectTheWrite) {
  addTool("mkfs.fat", "mv '" + path("dev/foreign") + "' '" + node() +
                          "'\nprintf FAT32 | /usr/bin/dd of=\"$2\" conv=notrunc status=none");
  addNode("foreign", "8:400");
  const auto before = path("dev/linked");
  std::filesystem::create_hard_link(node(), before);
  EXPECT_EQ(run(kFormat).exitStatus, 0);
  EXPECT_EQ(content(), std::string(kNodeSize, 'x'));
  EXPECT_TRUE(contentOf(before).starts_with("FAT32x"));
}

TEST_F(ScriptGuardTest, ANodeThatVanishesBeforeTheWriteIsNotMadeAnew) {
  addTool("dd", "rm '" + node() + "'\nexec /usr/bin/dd \"$@\"");
  run(kWipe);
  EXPECT_FALSE(std::filesystem::exists(node()));
}

TEST_F(ScriptGuardTest, ARegularFileInTheNodesPlaceIsRemovedAndTheCommandHasFailed) {
  addTool("dd", "rm '" + node() + "'\n: >'" + node() + "'");
  auto result = run(kWipe);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_EQ(result.err, "The device has gone.\n");
  EXPECT_FALSE(std::filesystem::exists(node()));
}

TEST_F(ScriptGuardTest, TheCommandsOwnFailureComesBack) {
  addTool("dd", "echo full >&2; exit 1");
  addTool("mkfs.fat", "echo broken >&2; exit 5");
  EXPECT_EQ(run(kWipe).exitStatus, 1);
  EXPECT_EQ(run(kWipe).err, "full\n");
  EXPECT_EQ(run(kFormat).exitStatus, 5);
  EXPECT_EQ(run(kFormat).err, "broken\n");
}

TEST_F(ScriptGuardTest, TheFormatWaitsUntilNoPartitionIsLeft) {
  addPartition("sdz1", "8:401");
  addPartition("sdz2", "8:402");
  // Refused at first, then one partition goes, then the other.
  addTool("blockdev", log("blockdev") + "case $(grep -c blockdev '" + path("log") +
                          "') in\n1) exit 1 ;;\n2) rm -r '" + disk() + "/sdz1' ;;\n3) rm -r '" +
                          disk() + "/sdz2' ;;\nesac");
  EXPECT_EQ(run(kFormat).exitStatus, 0);
  EXPECT_EQ(logged(),
            "blockdev --rereadpt /dev/fd/9\nsleep 0.1\nblockdev --rereadpt /dev/fd/9\nsleep 0.1\n"
            "blockdev --rereadpt /dev/fd/9\nmkfs.fat -F32 /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, PartitionsThatStayAreRefusedInTheEnd) {
  addPartition("sdz1", "8:401");
  setPatience(0);
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_EQ(result.err, "The partitions of before are still there.\n");
  EXPECT_EQ(logged(), "blockdev --rereadpt /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, ADiskWhoseTableCantBeReadAnewIsFormattedWhenItHasNoPartitions) {
  addTool("blockdev", log("blockdev") + "echo no >&2; exit 1");
  setPatience(0);
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(logged(), "blockdev --rereadpt /dev/fd/9\nmkfs.fat -F32 /dev/fd/9\n");
}

TEST_F(ScriptGuardTest, AMountDuringTheWaitIsRefused) {
  addTool("blockdev",
          "echo '40 22 8:400 / /media/x rw - vfat x rw' >>'" + path("proc/self/mountinfo") + "'");
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_EQ(result.err, "The disk is mounted.\n");
  EXPECT_EQ(logged(), "");
}

TEST_F(ScriptGuardTest, APlayerPulledDuringTheWaitIsRefused) {
  addTool("blockdev", "rm '" + path("sys/dev/block/8:400") + "'");
  const auto result = run(kFormat);
  EXPECT_EQ(result.exitStatus, kGuardRefusal);
  EXPECT_EQ(result.err, "The device has gone.\n");
  EXPECT_EQ(logged(), "");
}

TEST_F(ScriptGuardTest, TheSystemsOwnFoldersAndToolsAreMeant) {
  EXPECT_NE(guardScript().find("\nPATH=/usr/sbin:/usr/bin:/sbin:/bin\nsys=/sys\nproc=/proc\n"),
            std::string::npos);
  EXPECT_NE(guardScript().find("+ 15)"), std::string::npos);
}

}  // namespace
}  // namespace fillstation::test
