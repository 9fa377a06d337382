#include "LinuxVolumeOwner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/sysmacros.h>

#include "FileHandle.h"
#include "MockMachine.h"
#include "MockMounts.h"

namespace fillstation::test {

class LinuxVolumeOwnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    machine.plug("a");
    known.found(1, identity.usbHandle, "sdb", 101);
    path = machine.mount(16, "volume");
  }

  bool owns(const std::string& directory, const DiskIdentity& owner) {
    const FileHandle root(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return owner_.mediumOf(root.get(), directory, owner) != nullptr;
  }

  const DiskIdentity identity{"/dev/sdb", 0x10002};
  MockMachine machine;
  KnownDisks known;
  MountTable mounts{machine.mountTable()};
  LinuxVolumeOwner owner_{known, mounts};
  std::string path;
};

TEST_F(LinuxVolumeOwnerTest, TheDisksMountIsItsOwn) {
  EXPECT_TRUE(owns(path, identity));
  EXPECT_TRUE(owns(path + "/", identity));
}

TEST_F(LinuxVolumeOwnerTest, APartitionsMountIsTheDisks) {
  machine.kernel.addPartition(machine.player("a").diskPath, "sdb1", 1, 17);
  EXPECT_TRUE(owns(machine.mount(17, "part"), identity));
}

TEST_F(LinuxVolumeOwnerTest, AnotherDisksMountIsNot) {
  EXPECT_FALSE(owns(machine.mount(32, "other"), identity));
}

TEST_F(LinuxVolumeOwnerTest, AFolderOfTheVolumeIsNotTheVolume) {
  const std::string inside = machine.folder.makeFolder("media/volume/inside");
  mockMounts()[inside] = ::makedev(8, 16);
  EXPECT_FALSE(owns(inside, identity));
}

TEST_F(LinuxVolumeOwnerTest, AnyOtherDirectoryIsNot) {
  EXPECT_FALSE(owns(machine.folder.path(), identity));
}

TEST_F(LinuxVolumeOwnerTest, WhatIsNotOpenIsNot) {
  EXPECT_EQ(owner_.mediumOf(-1, path, identity), nullptr);
}

TEST_F(LinuxVolumeOwnerTest, AnotherUsbDeviceOrDiskIsNotTheOwner) {
  EXPECT_FALSE(owns(path, {"/dev/sdb", 0x10003}));
  EXPECT_FALSE(owns(path, {"/dev/sdc", 0x10002}));
  EXPECT_FALSE(owns(path, {"sdb", 0x10002}));
}

TEST_F(LinuxVolumeOwnerTest, AnotherDiskOfTheNameIsNotTheOwner) {
  machine.takeMedium(machine.player("a"));
  EXPECT_FALSE(owns(path, identity));
}

TEST_F(LinuxVolumeOwnerTest, NobodyOwnsWhatHasGone) {
  machine.pull("a");
  EXPECT_FALSE(owns(machine.folder.path(), identity));
}

TEST_F(LinuxVolumeOwnerTest, TheMediumIsTheKernelsOwn) {
  const FileHandle root(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const auto medium = owner_.mediumOf(root.get(), path, identity);
  ASSERT_NE(medium, nullptr);
  EXPECT_TRUE(medium->flush(root.get()));
  EXPECT_FALSE(medium->flush(-1));
}

}  // namespace fillstation::test
