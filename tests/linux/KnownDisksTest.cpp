#include "KnownDisks.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "MockMachine.h"

namespace fillstation::test {

class KnownDisksTest : public ::testing::Test {
 protected:
  static constexpr std::uint32_t kHandle = 0x10002;

  const DiskIdentity kPlayer{"/dev/sdb", kHandle};

  bool isWiped(const std::string& identifier, const std::string& type = "vfat") const {
    return known.isWiped(101, {type, identifier, std::nullopt});
  }
  // A disk is found without a machine.
  void find(std::size_t attach, std::uint32_t handle, const std::string& name,
            std::uint64_t sequence) {
    DiskFacts disk;
    disk.blocks = {{name, 0, std::nullopt}};
    disk.usbHandle = handle;
    disk.sequence = sequence;
    known.found(attach, disk);
  }
  // The player "a" with a sequence number of 101 on the handle above, and found.
  void plugInFound() {
    machine.plug("a");
    known.found(1, readDisk("sdb").value());
  }

  MockMachine machine;
  KnownDisks known;
};

TEST_F(KnownDisksTest, TheSequenceIsThatOfNodeAndDevice) {
  find(1, kHandle, "sdb", 7);
  find(2, kHandle + 1, "sdc", 8);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle}), 7U);
  EXPECT_EQ(known.sequenceOf({"/dev/sdc", kHandle + 1}), 8U);
  EXPECT_EQ(known.sequenceOf({"/dev/sdc", kHandle}), std::nullopt);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle + 2}), std::nullopt);
  EXPECT_EQ(known.sequenceOf({"sdb", kHandle}), std::nullopt);
}

TEST_F(KnownDisksTest, TheLatestDeviceOfANumberAndItsLatestSearchCount) {
  find(1, kHandle, "sdb", 7);
  find(2, kHandle, "sdb", 8);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle}), 8U);
  known.forget(1);
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", kHandle}), 8U);
  find(2, kHandle, "sdc", 9);
  EXPECT_FALSE(known.remembers("sdb"));
  EXPECT_EQ(known.sequenceOf({"/dev/sdc", kHandle}), 9U);
}

TEST_F(KnownDisksTest, AnotherMediumIsOneOfAnotherSequenceNumberOrSize) {
  plugInFound();
  EXPECT_FALSE(known.newMedium(1).has_value());
  EXPECT_FALSE(known.newMedium(2).has_value());
  machine.changeMedium(machine.player("a"), 64);
  EXPECT_EQ(known.newMedium(1).value().sequence, 102U);
  known.found(1, known.newMedium(1).value());
  EXPECT_FALSE(known.newMedium(1).has_value());
  machine.setAttribute(machine.player("a").diskPath, "size", "2\n");
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
  machine.removeUdevDatabase("b8:16");
  EXPECT_FALSE(known.newMedium(1).has_value());
  machine.setUdevDatabase("b8:16", {});
  EXPECT_TRUE(known.newMedium(1).has_value());
  machine.setAttribute(machine.player("a").diskPath, "diskseq", "none\n");
  EXPECT_FALSE(known.newMedium(1).has_value());
  machine.pull("a");
  EXPECT_FALSE(known.newMedium(1).has_value());
}

TEST_F(KnownDisksTest, AWipeMakesTheFileSystemsOfThatDiskOldOnes) {
  plugInFound();
  machine.addPartition(machine.player("a"), 1, MockFileSystem{"vfat", "P1", {}});
  // Not of another disk.
  known.willWipe({"/dev/sdb", kHandle + 1});
  known.willWipe({"/dev/sdc", kHandle});
  EXPECT_FALSE(isWiped("1111-AAAA") || isWiped("") || isWiped("3333-CCCC", "btrfs"));
  known.willWipe(kPlayer);
  EXPECT_TRUE(isWiped("1111-AAAA") && isWiped("P1") && isWiped(""));
  EXPECT_FALSE(isWiped("2222-BBBB"));
  EXPECT_FALSE(known.isWiped(102, {"vfat", "1111-AAAA", {}}));
  // A format makes nothing else.
  EXPECT_TRUE(isWiped("3333-CCCC", "btrfs"));
  EXPECT_FALSE(isWiped("3333-CCCC", "vfat"));
}

TEST_F(KnownDisksTest, ASecondWipeAddsToTheFirstAndOneThatDidNotBeginCountsAsNone) {
  plugInFound();
  known.willWipe(kPlayer);
  known.spared(kPlayer);
  EXPECT_FALSE(isWiped("1111-AAAA") || isWiped(""));
  known.willWipe(kPlayer);
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "2222-BBBB", {}});
  known.willWipe(kPlayer);
  EXPECT_TRUE(isWiped("1111-AAAA") && isWiped("2222-BBBB"));
  known.spared({"/dev/sdc", kHandle});
  EXPECT_TRUE(isWiped("2222-BBBB"));
  known.spared(kPlayer);
  EXPECT_TRUE(isWiped("1111-AAAA") && isWiped(""));
  EXPECT_FALSE(isWiped("2222-BBBB"));
}

TEST_F(KnownDisksTest, ADiskThatIsBlankOrHasGoneCanBeWipedToo) {
  machine.player("a").fileSystem = std::nullopt;
  plugInFound();
  known.willWipe(kPlayer);
  EXPECT_TRUE(isWiped(""));
  EXPECT_FALSE(isWiped("2222-BBBB"));
  machine.pull("a");
  machine.plug("a");
  known.found(2, readDisk("sdb").value());
  machine.pull("a");
  known.willWipe({"/dev/sdb", kHandle + 1});
  EXPECT_TRUE(known.isWiped(102, {"vfat", "", {}}));
}

}  // namespace fillstation::test
