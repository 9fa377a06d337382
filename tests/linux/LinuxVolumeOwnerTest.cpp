#include "LinuxVolumeOwner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/sysmacros.h>

#include "FileHandle.h"
#include "MockCalls.h"
#include "MockMachine.h"
#include "TestPlatform.h"

namespace fillstation::test {

class LinuxVolumeOwnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    machine.plug("a");
    known.found(1, readDisk("sdb").value());
    path = machine.mount(16, "volume");
    ports.disks.byName["sdb"] = std::make_shared<TestDisk>();
    ports.disks.complete = [](const auto& /*request*/, const auto& answer) { answer(); };
  }

  std::vector<std::string> asked() const { return ports.disks.kinds(); }
  void refuse(const std::string& kind) {
    ports.disks.refuse = [kind](const TestDisks::Request& request) {
      return request.kind == kind ? std::optional(Dissenter{"no"}) : std::nullopt;
    };
  }

  bool owns(const std::string& directory, const DiskIdentity& owner) {
    const FileHandle root(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return owner_.mediumOf(root.get(), directory, owner) != nullptr;
  }

  const DiskIdentity identity{"/dev/sdb", 0x10002};
  MockMachine machine;
  KnownDisks known;
  MountTable mounts{machine.mountTable()};
  StopSource stop;
  TestPlatform ports;
  LinuxVolumeOwner owner_{
      known, mounts,
      [this] { return std::make_shared<TestDiskSession>(ports.disks, ports.mainThread); }, stop,
      LinuxVolumeOwner::Patience{std::chrono::seconds(0), 3}};
  std::string path;
};

TEST_F(LinuxVolumeOwnerTest, TheMountsOfTheDiskAndItsPartitionsAreItsOwn) {
  EXPECT_TRUE(owns(path, identity));
  EXPECT_TRUE(owns(path + "/", identity));
  machine.addPartition(machine.player("a"), 1);
  EXPECT_TRUE(owns(machine.mount(17, "part"), identity));
}

TEST_F(LinuxVolumeOwnerTest, AnotherDisksMountAndAnyOtherDirectoryAreNot) {
  EXPECT_FALSE(owns(machine.mount(32, "other"), identity));
  EXPECT_FALSE(owns(machine.folder.path(), identity));
  const std::string inside = machine.folder.makeFolder("media/volume/inside");
  mockCalls().mounts[inside] = ::makedev(8, 16);
  EXPECT_FALSE(owns(inside, identity));
  EXPECT_EQ(owner_.mediumOf(-1, path, identity), nullptr);
}

TEST_F(LinuxVolumeOwnerTest, AnotherUsbDeviceOrDiskIsNotTheOwner) {
  EXPECT_FALSE(owns(path, {"/dev/sdb", 0x10003}));
  EXPECT_FALSE(owns(path, {"/dev/sdc", 0x10002}));
  EXPECT_FALSE(owns(path, {"sdb", 0x10002}));
  machine.changeMedium(machine.player("a"), 0);
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

TEST_F(LinuxVolumeOwnerTest, RemountUnmountsMountsAndSaysWhereTheVolumeIs) {
  EXPECT_EQ(owner_.remount(identity, "/media/where it was"), path);
  EXPECT_EQ(asked(), (std::vector<std::string>{"unmount", "mount"}));
  EXPECT_EQ(ports.disks.requests[0].expected.usbHandle, identity.usbHandle);
  EXPECT_EQ(ports.disks.requests[1].expected.node, identity.node);
}

TEST_F(LinuxVolumeOwnerTest, RemountOfAVolumeThatStaysInUseLeavesItWhereItIs) {
  refuse("unmount");
  EXPECT_EQ(owner_.remount(identity, path), path);
  EXPECT_EQ(asked(), (std::vector<std::string>(3, "unmount")));
}

TEST_F(LinuxVolumeOwnerTest, RemountLooksAtAnotherMountThatStays) {
  refuse("unmount");
  EXPECT_EQ(owner_.remount(identity, "/media/gone"), path);
  EXPECT_EQ(asked().back(), "mount");
}

TEST_F(LinuxVolumeOwnerTest, RemountAsksAgainForAVolumeThatIsInUse) {
  ports.disks.refuse = [this](const TestDisks::Request& /*request*/) {
    return asked().size() < 3 ? std::optional(Dissenter{"busy"}) : std::nullopt;
  };
  EXPECT_EQ(owner_.remount(identity, path), path);
  EXPECT_EQ(asked(), (std::vector<std::string>{"unmount", "unmount", "unmount", "mount"}));
}

TEST_F(LinuxVolumeOwnerTest, RemountFailsWhenTheVolumeDoesNotComeBack) {
  refuse("mount");
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
}

TEST_F(LinuxVolumeOwnerTest, RemountOfADiskThatHasGoneAsksForNothing) {
  machine.pull("a");
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
  EXPECT_EQ(asked(), std::vector<std::string>());
}

TEST_F(LinuxVolumeOwnerTest, RemountEndsWithTheProgram) {
  ports.disks.complete = [this](const auto& /*request*/, const auto& /*answer*/) {
    stop.request();
  };
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
}

}  // namespace fillstation::test
