#include "DiskFacts.h"

#include <gtest/gtest.h>
#include <sys/sysmacros.h>

#include "MockMachine.h"
#include "MockMonitor.h"
#include "Udev.h"

namespace fillstation::test {

class DiskFactsTest : public ::testing::Test {
 protected:
  DiskFacts read() {
    const auto facts = readDisk("sdb");
    EXPECT_TRUE(facts);
    return facts.value_or(DiskFacts());
  }

  MockMachine machine;
};

TEST_F(DiskFactsTest, OnlyAWholeDiskIsOne) {
  const auto& player = machine.plug("a");
  machine.kernel.addPartition(player.diskPath, "sdb1", 1, 17);
  EXPECT_TRUE(readDisk("sdb"));
  EXPECT_FALSE(readDisk("sdb1"));
  EXPECT_FALSE(readDisk("sdc"));
  EXPECT_FALSE(readDisk(""));
}

TEST_F(DiskFactsTest, ADiskIsWhatSysfsSays) {
  machine.player("a").sizeMiB = 3;
  const auto& player = machine.plug("a");
  const DiskFacts facts = read();
  EXPECT_TRUE(facts.initialized);
  EXPECT_EQ(facts.disk.name, "sdb");
  EXPECT_EQ(facts.disk.number, ::makedev(8, 16));
  EXPECT_EQ(facts.sequence, 101U);
  EXPECT_EQ(facts.usbHandle, 0x10000U + player.number);
  EXPECT_EQ(facts.vendor, "ACTIONS");
  EXPECT_EQ(facts.size, 3 * 1024 * 1024);
}

TEST_F(DiskFactsTest, UdevMayNotHaveLookedAtItYet) {
  machine.plug("a");
  machine.kernel.removeUdevDatabase("b8:16");
  EXPECT_FALSE(read().initialized);
}

TEST_F(DiskFactsTest, OnlyPaddingIsTakenOffTheVendor) {
  machine.player("a").vendor = " A B    ";
  machine.plug("a");
  EXPECT_EQ(read().vendor, " A B");
}

TEST_F(DiskFactsTest, AVendorOfBlanksIsEmpty) {
  machine.player("a").vendor = "        ";
  machine.plug("a");
  EXPECT_EQ(read().vendor, "");
}

TEST_F(DiskFactsTest, ADiskOfTheMachineItselfHasNoUsbDevice) {
  machine.kernel.add("block", "vda", "", {{"size", "8\n"}},
                     {{"DEVTYPE", "disk"}, {"MAJOR", "254"}, {"MINOR", "0"}});
  const auto facts = readDisk("vda");
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->usbHandle, std::nullopt);
  EXPECT_EQ(facts->vendor, std::nullopt);
  EXPECT_EQ(facts->sequence, std::nullopt);
  EXPECT_EQ(facts->size, 4096);
}

TEST_F(DiskFactsTest, ADiskWithoutASizeIsEmpty) {
  machine.kernel.add("block", "vda", "", {},
                     {{"DEVTYPE", "disk"}, {"MAJOR", "254"}, {"MINOR", "0"}});
  EXPECT_EQ(readDisk("vda")->size, 0);
}

TEST_F(DiskFactsTest, AFileSystemIsWhatUdevSays) {
  machine.player("a").fileSystem = MockFileSystem{"ext4", "ID-1", "A\\x20B\\x5c\\xc3\\xa4\\x7e"};
  machine.plug("a");
  const auto fileSystem = read().disk.fileSystem;
  ASSERT_TRUE(fileSystem);
  EXPECT_EQ(fileSystem->type, "ext4");
  EXPECT_EQ(fileSystem->identifier, "ID-1");
  EXPECT_EQ(fileSystem->label, "A B\\ä~");
}

TEST_F(DiskFactsTest, AnEscapeThatIsNotCompleteStays) {
  machine.player("a").fileSystem = MockFileSystem{"vfat", "ID-1", "\\y41\\x41\\xg1\\x1g\\x4"};
  machine.plug("a");
  EXPECT_EQ(read().disk.fileSystem->label, "\\y41A\\xg1\\x1g\\x4");
}

TEST_F(DiskFactsTest, WithoutAFileSystemThereIsNone) {
  machine.player("a").fileSystem = std::nullopt;
  machine.plug("a");
  EXPECT_FALSE(read().disk.fileSystem);
}

TEST_F(DiskFactsTest, OtherContentIsNoFileSystem) {
  machine.plug("a");
  machine.kernel.setUdevDatabase("b8:16", {{"ID_FS_USAGE", "raid"}, {"ID_FS_TYPE", "vfat"}});
  EXPECT_FALSE(read().disk.fileSystem);
}

TEST_F(DiskFactsTest, AFileSystemMayHaveNeitherIdentifierNorLabel) {
  machine.plug("a");
  machine.kernel.setUdevDatabase("b8:16", {{"ID_FS_USAGE", "filesystem"}});
  const auto fileSystem = read().disk.fileSystem;
  ASSERT_TRUE(fileSystem);
  EXPECT_EQ(fileSystem->type, "");
  EXPECT_EQ(fileSystem->identifier, "");
  EXPECT_EQ(fileSystem->label, std::nullopt);
}

TEST_F(DiskFactsTest, PartitionsComeByNumber) {
  const auto& player = machine.plug("a");
  machine.kernel.addPartition(player.diskPath, "sdb10", 10, 26);
  machine.kernel.addPartition(player.diskPath, "sdb2", 2, 18);
  machine.kernel.setUdevDatabase("b8:18", databaseOf(MockFileSystem{"vfat", "P2", "two"}));
  const DiskFacts facts = read();
  ASSERT_EQ(facts.partitions.size(), 2U);
  EXPECT_EQ(facts.partitions[0].name, "sdb2");
  EXPECT_EQ(facts.partitions[0].number, ::makedev(8, 18));
  EXPECT_EQ(facts.partitions[0].fileSystem->label, "two");
  EXPECT_EQ(facts.partitions[1].name, "sdb10");
  const auto blocks = facts.blocks();
  ASSERT_EQ(blocks.size(), 3U);
  EXPECT_EQ(blocks[0].name, "sdb");
  EXPECT_EQ(blocks[1].name, "sdb2");
}

TEST_F(DiskFactsTest, TheUsbDeviceAboveAnyBlockDeviceIsFound) {
  const auto& player = machine.plug("a");
  machine.kernel.addPartition(player.diskPath, "sdb1", 1, 17);
  EXPECT_EQ(usbHandleAbove("sdb"), 0x10000U + player.number);
  EXPECT_EQ(usbHandleAbove("sdb1"), 0x10000U + player.number);
  EXPECT_EQ(usbHandleAbove("sdc"), std::nullopt);
}

TEST_F(DiskFactsTest, BelowADeviceThatHasGoneThereIsNoDisk) {
  const std::string path = machine.plug("a").usbPath;
  EXPECT_EQ(findDiskBelow(path), "sdb");
  machine.pull("a");
  EXPECT_EQ(findDiskBelow(path), std::nullopt);
}

TEST_F(DiskFactsTest, ADeviceThatGoesWhileItIsLookedForIsLeftOut) {
  mockMonitor().vanishing = machine.plug("a").diskPath;
  machine.plug("b");
  const UdevContext context(::udev_new());
  const UdevEnumeration enumeration(::udev_enumerate_new(context.get()));
  ::udev_enumerate_add_match_subsystem(enumeration.get(), "block");
  const auto devices = udevDevices(context.get(), enumeration.get());
  mockMonitor().vanishing.clear();
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(udevSysName(devices[0].get()), "sdc");
}

TEST_F(DiskFactsTest, NothingHasNoPathAndNoName) {
  EXPECT_EQ(udevSysPath(nullptr), "");
  EXPECT_EQ(udevSysName(nullptr), "");
}

TEST_F(DiskFactsTest, ANumberIsWhollyOne) {
  EXPECT_EQ(udevNumber("12"), 12U);
  EXPECT_EQ(udevNumber("0012"), 12U);
  EXPECT_EQ(udevNumber("1f", 16), 0x1FU);
  EXPECT_EQ(udevNumber("12x"), std::nullopt);
  EXPECT_EQ(udevNumber(""), std::nullopt);
  EXPECT_EQ(udevNumber(std::nullopt), std::nullopt);
  EXPECT_EQ(udevNumber("99999999999999999999"), std::nullopt);
}

}  // namespace fillstation::test
