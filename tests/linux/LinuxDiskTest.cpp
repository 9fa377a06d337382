#include "LinuxDisk.h"

#include <gtest/gtest.h>

#include "MockMachine.h"

namespace fillstation::test {

class LinuxDiskTest : public ::testing::Test {
 protected:
  LinuxDisk disk() { return LinuxDisk("sdb", known, mounts); }
  DiskDescription described() { return disk().copyDescription().value(); }

  static std::string name(const DiskDescription& description) {
    return description.volumeName.value_or("(none)");
  }
  static bool isEmpty(const DiskDescription& description) {
    return !description.deviceVendor && !description.mediaSize && !description.volumeName &&
           !description.volumePath;
  }
  void addPartition(int number, const std::optional<MockFileSystem>& fileSystem) {
    const std::string minor = std::to_string(16 + number);
    machine.kernel.addPartition(machine.player("a").diskPath, "sdb" + std::to_string(number),
                                number, 16 + number);
    machine.kernel.setUdevDatabase("b8:" + minor, databaseOf(fileSystem));
  }

  MockMachine machine;
  KnownDisks known;
  MountTable mounts{machine.mountTable()};
};

TEST_F(LinuxDiskTest, ADiskIsDescribed) {
  machine.player("a").fileSystem->label = "My\\x20Books";
  machine.plug("a");
  const std::string path = machine.mount(16, "My, {Books}");
  const auto description = described();
  EXPECT_EQ(description.deviceVendor, "ACTIONS");
  EXPECT_EQ(description.mediaSize, 64 * 1024 * 1024);
  EXPECT_EQ(name(description), "My Books");
  EXPECT_EQ(description.volumePath,
            "file://" + machine.folder.path() + "/media/My%2C%20%7BBooks%7D/");
}

TEST_F(LinuxDiskTest, ADiskThatUdevHasNotLookedAtHasNoDescription) {
  machine.plug("a");
  machine.kernel.removeUdevDatabase("b8:16");
  EXPECT_EQ(disk().copyDescription().has_value(), false);
}

TEST_F(LinuxDiskTest, ADiskWithoutAVendorHasNoneInItsDescription) {
  machine.kernel.add("block", "sdb", "", {{"size", "2\n"}},
                     {{"DEVTYPE", "disk"}, {"MAJOR", "8"}, {"MINOR", "16"}});
  machine.kernel.setUdevDatabase("b8:16", databaseOf(MockFileSystem()));
  const auto description = described();
  EXPECT_FALSE(description.deviceVendor);
  EXPECT_EQ(description.mediaSize, 1024);
  EXPECT_EQ(name(description), "NO NAME");
}

TEST_F(LinuxDiskTest, OnlyFatWithoutALabelHasANameAllTheSame) {
  machine.plug("a");
  EXPECT_EQ(name(described()), "NO NAME");
  machine.setFileSystem(machine.player("a"), MockFileSystem{"ext4", "id", {}});
  EXPECT_EQ(name(described()), "(none)");
  machine.setFileSystem(machine.player("a"), MockFileSystem{"ext4", "id", "label"});
  EXPECT_EQ(name(described()), "label");
}

TEST_F(LinuxDiskTest, APartitionsFileSystemComesBeforeTheDisksOwn) {
  machine.plug("a");
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "id", "whole"});
  addPartition(1, MockFileSystem{"vfat", "id", "part"});
  machine.mount(17, "part");
  EXPECT_EQ(name(described()), "part");
  EXPECT_TRUE(described().volumePath->ends_with("/media/part/"));
}

TEST_F(LinuxDiskTest, PartitionsWithoutAFileSystemLeaveTheDisksOwn) {
  machine.plug("a");
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "id", "whole"});
  addPartition(1, std::nullopt);
  EXPECT_EQ(name(described()), "whole");
}

TEST_F(LinuxDiskTest, OfPartitionsTheFirstWithAFileSystem) {
  machine.player("a").fileSystem = std::nullopt;
  machine.plug("a");
  addPartition(3, MockFileSystem{"vfat", "id3", "three"});
  addPartition(1, std::nullopt);
  addPartition(2, MockFileSystem{"vfat", "id2", "two"});
  machine.mount(18, "two");
  EXPECT_EQ(name(described()), "two");
  EXPECT_TRUE(described().volumePath->ends_with("/media/two/"));
}

TEST_F(LinuxDiskTest, AMountMadeLaterDoesNotMoveTheVolume) {
  machine.plug("a");
  machine.mount(16, "first");
  machine.mount(16, "second");
  EXPECT_TRUE(described().volumePath->ends_with("/media/first/"));
}

TEST_F(LinuxDiskTest, AfterAWipeTheOldVolumeIsNoMore) {
  machine.plug("a");
  machine.mount(16, "old");
  known.found(1, readDisk("sdb").value());
  known.willWipe({"/dev/sdb", 0x10002});
  EXPECT_EQ(described().deviceVendor, "ACTIONS");
  EXPECT_FALSE(described().volumeName);
  EXPECT_FALSE(described().volumePath);
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "2222-BBBB", {}});
  EXPECT_EQ(name(described()), "NO NAME");
  EXPECT_TRUE(described().volumePath);
}

TEST_F(LinuxDiskTest, AnotherDiskOfTheNameIsNotThisOne) {
  machine.plug("a");
  auto first = disk();
  EXPECT_EQ(first.sequence(), 101U);
  machine.pull("a");
  EXPECT_TRUE(isEmpty(first.copyDescription().value()));
  machine.plug("b");
  EXPECT_TRUE(isEmpty(first.copyDescription().value()));
  EXPECT_FALSE(isEmpty(described()));
}

TEST_F(LinuxDiskTest, ADiskObjectThatWasMadeAfterTheLeavingStaysEmpty) {
  auto gone = disk();
  EXPECT_EQ(gone.sequence(), std::nullopt);
  EXPECT_TRUE(isEmpty(gone.copyDescription().value()));
  machine.plug("a");
  EXPECT_TRUE(isEmpty(gone.copyDescription().value()));
}

}  // namespace fillstation::test
