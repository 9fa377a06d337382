#include "KnownDisks.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "MockMachine.h"

namespace fillstation::test {

class KnownDisksTest : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kHandle = 0x10002;

  FileSystemFacts fileSystem(const std::string& identifier) const {
    return {"vfat", identifier, std::nullopt};
  }

  // A disk is found without a machine.
  void find(std::size_t attach, std::uint32_t handle, const std::string& name,
            std::uint64_t sequence) {
    DiskFacts disk;
    disk.disk.name = name;
    disk.usbHandle = handle;
    disk.sequence = sequence;
    known.found(attach, disk);
  }
  // The player "a" with a sequence number of 101 on the handle above, and found.
  void plugInFound() {
    machine.plug("a");
    known.found(1, readDisk("sdb").value());
  }
  // What the guard has against a request.
  std::optional<std::string> objection(const DiskIdentity& expected = {"/dev/sdb", kHandle},
                                       std::optional<std::uint64_t> sequence = 101) {
    return guardAgainst(expected, "sdb", sequence, readDisk("sdb"), known);
  }

  MockMachine machine;
  KnownDisks known;
};

TEST_F(KnownDisksTest, ADiskIsRememberedUntilItIsForgotten) {
  find(1, kHandle, "sdb", 7);
  EXPECT_EQ(known.diskName(1), "sdb");
  EXPECT_EQ(known.diskName(2), std::nullopt);
  EXPECT_TRUE(known.remembers("sdb"));
  EXPECT_FALSE(known.remembers("sdc"));
  known.forget(2);
  EXPECT_TRUE(known.remembers("sdb"));
  known.forget(1);
  EXPECT_EQ(known.diskName(1), std::nullopt);
  EXPECT_FALSE(known.remembers("sdb"));
}

TEST_F(KnownDisksTest, TheSequenceIsThatOfNodeAndDevice) {
  find(1, kHandle, "sdb", 7);
  find(2, kHandle + 1, "sdc", 8);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle}), 7U);
  EXPECT_EQ(known.sequenceOf({"/dev/sdc", kHandle + 1}), 8U);
  EXPECT_EQ(known.sequenceOf({"/dev/sdc", kHandle}), std::nullopt);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle + 2}), std::nullopt);
  EXPECT_EQ(known.sequenceOf({"sdb", kHandle}), std::nullopt);
}

TEST_F(KnownDisksTest, ADeviceNumberThatIsUsedAgainMeansTheLatestDevice) {
  find(1, kHandle, "sdb", 7);
  find(2, kHandle, "sdb", 8);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle}), 8U);
  known.forget(1);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle}), 8U);
}

TEST_F(KnownDisksTest, ANewSearchCountsFromThenOn) {
  find(1, kHandle, "sdb", 7);
  find(1, kHandle, "sdc", 8);
  EXPECT_FALSE(known.remembers("sdb"));
  EXPECT_EQ(known.sequenceOf({"/dev/sdc", kHandle}), 8U);
}

TEST_F(KnownDisksTest, AnotherMediumIsOneOfAnotherSequenceNumberOrSize) {
  plugInFound();
  EXPECT_FALSE(known.newMedium(1).has_value());
  EXPECT_FALSE(known.newMedium(2).has_value());
  machine.changeMedium(machine.player("a"), 64);
  EXPECT_EQ(known.newMedium(1).value().sequence, 102U);
  known.found(1, known.newMedium(1).value());
  EXPECT_FALSE(known.newMedium(1).has_value());
  machine.kernel.setAttribute(machine.player("a").diskPath, "size", "2\n");
  EXPECT_EQ(known.newMedium(1).value().size, 1024);
}

TEST_F(KnownDisksTest, AMediumIsNewInTheSameUnitOnly) {
  plugInFound();
  machine.changeMedium(machine.player("a"), 64);
  for (const auto& differ : std::vector<std::function<void(DiskFacts&)>>{
           [](DiskFacts& disk) { disk.unit = "1:0:0:1"; },
           [](DiskFacts& disk) { ++*disk.usbHandle; },
           [](DiskFacts& disk) { disk.vendor = "OTHER"; }}) {
    DiskFacts found = readDisk("sdb").value();
    found.sequence = 101;
    known.found(1, found);
    EXPECT_TRUE(known.newMedium(1).has_value());
    differ(found);
    known.found(1, found);
    EXPECT_FALSE(known.newMedium(1).has_value());
  }
}

TEST_F(KnownDisksTest, AMediumThatCantBeGuardedOrIsNotLookedAtYetIsNone) {
  plugInFound();
  machine.changeMedium(machine.player("a"), 64);
  machine.kernel.removeUdevDatabase("b8:16");
  EXPECT_FALSE(known.newMedium(1).has_value());
  machine.kernel.setUdevDatabase("b8:16", {});
  EXPECT_TRUE(known.newMedium(1).has_value());
  machine.kernel.setAttribute(machine.player("a").diskPath, "diskseq", "none\n");
  EXPECT_FALSE(known.newMedium(1).has_value());
  machine.pull("a");
  EXPECT_FALSE(known.newMedium(1).has_value());
}

TEST_F(KnownDisksTest, WithoutAWipeEveryFileSystemIsFresh) {
  plugInFound();
  EXPECT_FALSE(known.isWiped(101, fileSystem("1111-AAAA")));
  EXPECT_FALSE(known.isWiped(101, fileSystem("")));
}

TEST_F(KnownDisksTest, AWipeMakesTheFileSystemsOfThatDiskOldOnes) {
  plugInFound();
  machine.kernel.addPartition(machine.player("a").diskPath, "sdb1", 1, 17);
  machine.kernel.setUdevDatabase("b8:17", databaseOf(MockFileSystem{"vfat", "P1", {}}));
  known.willWipe({"/dev/sdb", kHandle});
  EXPECT_TRUE(known.isWiped(101, fileSystem("1111-AAAA")));
  EXPECT_TRUE(known.isWiped(101, fileSystem("P1")));
  EXPECT_TRUE(known.isWiped(101, fileSystem("")));
  EXPECT_FALSE(known.isWiped(101, fileSystem("2222-BBBB")));
  EXPECT_FALSE(known.isWiped(102, fileSystem("1111-AAAA")));
}

TEST_F(KnownDisksTest, AfterAWipeNothingButFatIsFresh) {
  plugInFound();
  EXPECT_FALSE(known.isWiped(101, {"btrfs", "3333-CCCC", {}}));
  known.willWipe({"/dev/sdb", kHandle});
  EXPECT_TRUE(known.isWiped(101, {"btrfs", "3333-CCCC", {}}));
  EXPECT_FALSE(known.isWiped(101, {"vfat", "3333-CCCC", {}}));
}

TEST_F(KnownDisksTest, ASecondWipeAddsToTheFirst) {
  plugInFound();
  known.willWipe({"/dev/sdb", kHandle});
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "2222-BBBB", {}});
  known.willWipe({"/dev/sdb", kHandle});
  EXPECT_TRUE(known.isWiped(101, fileSystem("1111-AAAA")));
  EXPECT_TRUE(known.isWiped(101, fileSystem("2222-BBBB")));
}

TEST_F(KnownDisksTest, ABlankDiskIsWipedToo) {
  machine.player("a").fileSystem = std::nullopt;
  plugInFound();
  known.willWipe({"/dev/sdb", kHandle});
  EXPECT_TRUE(known.isWiped(101, fileSystem("")));
  EXPECT_FALSE(known.isWiped(101, fileSystem("2222-BBBB")));
}

TEST_F(KnownDisksTest, AfterAWipeThatDidNotBeginItsFileSystemIsThere) {
  plugInFound();
  known.willWipe({"/dev/sdb", kHandle});
  known.spared({"/dev/sdb", kHandle});
  EXPECT_FALSE(known.isWiped(101, fileSystem("1111-AAAA")));
  EXPECT_FALSE(known.isWiped(101, fileSystem("")));
}

TEST_F(KnownDisksTest, AWipeThatDidNotBeginLeavesTheOneBeforeIt) {
  plugInFound();
  known.willWipe({"/dev/sdb", kHandle});
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "2222-BBBB", {}});
  known.willWipe({"/dev/sdb", kHandle});
  known.spared({"/dev/sdb", kHandle});
  EXPECT_TRUE(known.isWiped(101, fileSystem("1111-AAAA")));
  EXPECT_TRUE(known.isWiped(101, fileSystem("")));
  EXPECT_FALSE(known.isWiped(101, fileSystem("2222-BBBB")));
}

TEST_F(KnownDisksTest, AWipeOfAnotherDiskThatDidNotBeginChangesNothing) {
  plugInFound();
  known.willWipe({"/dev/sdb", kHandle});
  known.spared({"/dev/sdc", kHandle});
  EXPECT_TRUE(known.isWiped(101, fileSystem("1111-AAAA")));
}

TEST_F(KnownDisksTest, AWipeOfAnotherDiskChangesNothing) {
  plugInFound();
  known.willWipe({"/dev/sdb", kHandle + 1});
  known.willWipe({"/dev/sdc", kHandle});
  EXPECT_FALSE(known.isWiped(101, fileSystem("1111-AAAA")));
}

TEST_F(KnownDisksTest, ADiskThatHasGoneCanBeSaidToBeWiped) {
  plugInFound();
  machine.pull("a");
  known.willWipe({"/dev/sdb", kHandle});
  EXPECT_TRUE(known.isWiped(101, fileSystem("")));
}

TEST_F(KnownDisksTest, TheGuardLetsTheVeryPlayerPass) {
  plugInFound();
  EXPECT_EQ(objection(), std::nullopt);
}

TEST_F(KnownDisksTest, TheGuardRefusesAnotherNode) {
  plugInFound();
  EXPECT_EQ(objection({"/dev/sdc", kHandle}), "The disk is not the one that was asked for.");
}

TEST_F(KnownDisksTest, TheGuardRefusesADiskThatHasGone) {
  plugInFound();
  machine.pull("a");
  EXPECT_EQ(objection(), "The disk has gone.");
}

TEST_F(KnownDisksTest, TheGuardRefusesAnotherUsbDevice) {
  plugInFound();
  EXPECT_EQ(objection({"/dev/sdb", kHandle + 1}), "The disk belongs to another USB device.");
}

TEST_F(KnownDisksTest, TheGuardRefusesADiskThatWasNeverFound) {
  machine.plug("a");
  EXPECT_EQ(objection(), "Another disk has taken the name.");
}

TEST_F(KnownDisksTest, TheGuardRefusesAnotherDiskOfTheName) {
  plugInFound();
  find(1, kHandle, "sdb", 100);
  EXPECT_EQ(objection(), "Another disk has taken the name.");
}

TEST_F(KnownDisksTest, TheGuardRefusesADiskObjectThatWasMadeForAnotherDisk) {
  plugInFound();
  EXPECT_EQ(objection({"/dev/sdb", kHandle}, 100), "Another disk has taken the name.");
  EXPECT_EQ(objection({"/dev/sdb", kHandle}, std::nullopt), "Another disk has taken the name.");
}

TEST_F(KnownDisksTest, TheGuardRefusesAnotherVendor) {
  machine.player("a").vendor = "ACTIONSX";
  plugInFound();
  EXPECT_EQ(objection(), "The disk is not a player's.");
}

}  // namespace fillstation::test
