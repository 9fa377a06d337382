#include "DiskFacts.h"

#include <gtest/gtest.h>

#include "MockMachine.h"
#include "Udev.h"

namespace fillstation::test {

class DiskFactsTest : public ::testing::Test {
 protected:
  static DiskFacts read() { return readDisk("sdb").value(); }

  MockMachine machine;
};

TEST_F(DiskFactsTest, OnlyAWholeDiskIsOne) {
  const auto& player = machine.plug("a");
  machine.addPartition(player, 1);
  EXPECT_TRUE(readDisk("sdb"));
  EXPECT_FALSE(readDisk("sdb1"));
  EXPECT_FALSE(readDisk("sdc"));
  EXPECT_FALSE(readDisk(""));
}

TEST_F(DiskFactsTest, OnlyPaddingIsTakenOffTheVendor) {
  machine.player("a").vendor = " A B    ";
  machine.plug("a");
  EXPECT_EQ(read().vendor, " A B");
  machine.player("b").vendor = "        ";
  machine.plug("b");
  EXPECT_EQ(readDisk("sdc")->vendor, "");
}

TEST_F(DiskFactsTest, AnInternalDiskHasNoUsbDevice) {
  const auto path =
      machine.add("block", "vda", "", {}, {{"DEVTYPE", "disk"}, {"MAJOR", "254"}, {"MINOR", "0"}});
  EXPECT_EQ(readDisk("vda")->size, 0);
  machine.setAttribute(path, "size", "8\n");
  const auto facts = readDisk("vda");
  ASSERT_TRUE(facts);
  EXPECT_EQ(facts->usbHandle, std::nullopt);
  EXPECT_EQ(facts->vendor, std::nullopt);
  EXPECT_EQ(facts->sequence, std::nullopt);
  EXPECT_EQ(facts->size, 4096);
}

TEST_F(DiskFactsTest, BelowADeviceThatHasGoneThereIsNoDisk) {
  const auto usb = machine.addUsb("1-2", 1, 2);
  machine.addDisk(machine.addUnit("", 25, 0), "sdz", 400);
  machine.setUdevDatabase("b8:400");
  EXPECT_EQ(findDiskBelow(usb), std::nullopt);
  machine.remove(usb);
  EXPECT_EQ(findDiskBelow(usb), std::nullopt);
  EXPECT_EQ(usbHandleAbove("sdb"), std::nullopt);
}

TEST_F(DiskFactsTest, TheFileSystemComesFromUdev) {
  auto& player = machine.plug("a");
  machine.setFileSystem(player, MockFileSystem{"ext4", "ID-1", "A\\x20B\\x5c\\xc3\\xa4\\x7e"});
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().type, "ext4");
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().identifier, "ID-1");
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().label, "A B\\ä~");
  // Escapes that are not complete stay.
  machine.setFileSystem(player, MockFileSystem{"vfat", "ID-1", "\\y41\\x41\\xg1\\x1g\\x4"});
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().label, "\\y41A\\xg1\\x1g\\x4");
  machine.setUdevDatabase("b8:16", {{"ID_FS_USAGE", "filesystem"}});
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().type, "");
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().identifier, "");
  EXPECT_EQ(read().blocks.at(0).fileSystem.value().label, std::nullopt);
  machine.setUdevDatabase("b8:16", {{"ID_FS_USAGE", "raid"}, {"ID_FS_TYPE", "vfat"}});
  EXPECT_FALSE(read().blocks.at(0).fileSystem);
  machine.setUdevDatabase("b8:16");
  EXPECT_FALSE(read().blocks.at(0).fileSystem);
}

TEST_F(DiskFactsTest, ADeviceThatLeavesDuringTheSearchIsLeftOut) {
  mockCalls().vanishing = machine.plug("a").diskPath;
  machine.plug("b");
  const UdevContext context(::udev_new());
  const UdevEnumeration enumeration(::udev_enumerate_new(context.get()));
  ::udev_enumerate_add_match_subsystem(enumeration.get(), "block");
  const auto devices = udevDevices(context.get(), enumeration.get());
  ASSERT_EQ(devices.size(), 1U);
  EXPECT_EQ(udevSysName(devices[0].get()), "sdc");
}

TEST_F(DiskFactsTest, ANodeHasANameAndANumberIsWhollyOne) {
  EXPECT_EQ(udevSysPath(nullptr), "");
  EXPECT_EQ(udevSysName(nullptr), "");
  EXPECT_EQ(usbHandleOf(nullptr), std::nullopt);
  EXPECT_EQ(nodeOf("sdb"), "/dev/sdb");
  EXPECT_EQ(diskNameOf("/dev/sdb"), "sdb");
  EXPECT_EQ(diskNameOf("sdb"), "sdb");
  EXPECT_EQ(udevNumber("12"), 12U);
  EXPECT_EQ(udevNumber("0012"), 12U);
  EXPECT_EQ(udevNumber("1f", 16), 0x1FU);
  EXPECT_EQ(udevNumber("12x"), std::nullopt);
  EXPECT_EQ(udevNumber(""), std::nullopt);
  EXPECT_EQ(udevNumber(std::nullopt), std::nullopt);
  EXPECT_EQ(udevNumber("99999999999999999999"), std::nullopt);
}

}  // namespace fillstation::test
