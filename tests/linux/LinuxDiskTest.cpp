#include "LinuxDisk.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <scsi/sg.h>
#include <sys/sysmacros.h>

#include <filesystem>

#include "DiskCases.h"
#include "FileHandle.h"
#include "MockMachine.h"
#include "TestPlatform.h"

namespace fillstation::test {

class LinuxDiskTest : public ::testing::Test {
 protected:
  LinuxDisk disk() { return LinuxDisk("sdb", known); }
  DiskDescription described() { return disk().copyDescription().value(); }

  static std::string name(const DiskDescription& description) {
    return description.volumeName.value_or("(none)");
  }
  static bool isEmpty(const DiskDescription& description) {
    return !description.deviceVendor && !description.mediaSize && !description.volumeName &&
           !description.volumePath;
  }
  // The player "a", found.
  DiskIdentity plugInFound() {
    const auto& player = machine.plug("a");
    known.found(1, readDisk("sdb").value());
    return {"/dev/sdb", 0x10000U + player.number};
  }

  static std::string objectionTo(const DiskCase& found) {
    if (!found.isSameDevice()) {
      return "The disk belongs to another USB device.";
    }
    if (!found.isActions()) {
      return "The disk is not a player's.";
    }
    return found.isPlayer() ? "" : "Another disk has taken the name.";
  }

  MockMachine machine;
  KnownDisks known;
};

TEST_F(LinuxDiskTest, ADiskIsDescribed) {
  machine.player("a").fileSystem->label = "My\\x20Books";
  machine.plug("a");
  machine.mount(16, "My, {Books}");
  machine.mount(16, "mounted later");
  const auto description = described();
  EXPECT_EQ(description.deviceVendor, "ACTIONS");
  EXPECT_EQ(description.mediaSize, 64 * 1024 * 1024);
  EXPECT_EQ(name(description), "My Books");
  EXPECT_EQ(description.volumePath,
            "file://" + machine.folder.path() + "/media/My%2C%20%7BBooks%7D/");
  // None while udev has not looked at the disk.
  machine.removeUdevDatabase("b8:16");
  EXPECT_FALSE(disk().copyDescription().has_value());
}

TEST_F(LinuxDiskTest, ADiskWithoutAVendorHasNoneInItsDescription) {
  machine.add("block", "sdb", "", {{"size", "2\n"}},
              {{"DEVTYPE", "disk"}, {"MAJOR", "8"}, {"MINOR", "16"}});
  machine.setUdevDatabase("b8:16", databaseOf(MockFileSystem()));
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

TEST_F(LinuxDiskTest, TheFirstPartitionsFileSystemIsPreferredToTheDisks) {
  machine.plug("a");
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "id", "whole"});
  machine.addPartition(machine.player("a"), 1);
  EXPECT_EQ(name(described()), "whole");
  machine.addPartition(machine.player("a"), 10, MockFileSystem{"vfat", "id10", "ten"});
  machine.addPartition(machine.player("a"), 2, MockFileSystem{"vfat", "id2", "two"});
  machine.mount(18, "two");
  EXPECT_EQ(name(described()), "two");
  EXPECT_TRUE(described().volumePath->ends_with("/media/two/"));
}

TEST_F(LinuxDiskTest, AnotherDiskOfTheNameIsNotThisOne) {
  auto early = disk();
  EXPECT_EQ(early.sequence(), std::nullopt);
  EXPECT_TRUE(isEmpty(early.copyDescription().value()));
  machine.plug("a");
  auto first = disk();
  EXPECT_EQ(first.sequence(), 101U);
  EXPECT_TRUE(isEmpty(early.copyDescription().value()));
  machine.pull("a");
  EXPECT_TRUE(isEmpty(first.copyDescription().value()));
  machine.plug("b");
  EXPECT_TRUE(isEmpty(first.copyDescription().value()));
  EXPECT_FALSE(isEmpty(described()));
}

TEST_F(LinuxDiskTest, OnlyTheVeryPlayerPassesTheCheck) {
  for (const auto& found : diskCases()) {
    SCOPED_TRACE(found.what);
    DiskIdentity expected = plugInFound();
    expected.usbHandle -= static_cast<std::uint32_t>(found.bus * 65536 + found.device);
    const auto player = disk();
    const std::string path = machine.player("a").diskPath;
    const auto sequence = static_cast<int>(player.sequence().value());
    machine.setAttribute(path, "diskseq",
                         found.sequence ? std::to_string(sequence + *found.sequence) + "\n" : "");
    const std::filesystem::path unit = std::filesystem::path(path).parent_path().parent_path();
    machine.setAttribute(unit, "vendor", std::string(found.vendor) + "\n");
    const auto check = player.checkFor(expected);
    EXPECT_EQ(check.disk.has_value(), found.isPlayer());
    EXPECT_EQ(check.objection, objectionTo(found));
    machine.pull("a");
    known.forget(1);
  }
}

TEST_F(LinuxDiskTest, ADiskOfAnotherNameThatHasGoneOrWasNeverFoundIsNotThePlayer) {
  const DiskIdentity expected = plugInFound();
  EXPECT_EQ(disk().checkFor({"/dev/sdc", expected.usbHandle}).objection,
            "The disk is not the one that was asked for.");
  EXPECT_EQ(disk().checkFor({"sdb", expected.usbHandle}).objection,
            "The disk is not the one that was asked for.");
  known.forget(1);
  EXPECT_EQ(disk().checkFor(expected).objection, "Another disk has taken the name.");
  machine.pull("a");
  EXPECT_EQ(disk().checkFor(expected).objection, "The disk has gone.");
}

TEST_F(LinuxDiskTest, AnObjectThatWasMadeForAnotherDiskIsNotThePlayer) {
  const auto gone = disk();
  const DiskIdentity expected = plugInFound();
  const auto before = disk();
  machine.changeMedium(machine.player("a"), 64);
  known.found(1, readDisk("sdb").value());
  EXPECT_EQ(disk().checkFor(expected).objection, "");
  EXPECT_EQ(before.checkFor(expected).objection, "Another disk has taken the name.");
  EXPECT_EQ(gone.checkFor(expected).objection, "Another disk has taken the name.");
}

TEST_F(LinuxDiskTest, AUnitIsStoppedByAnEjectOfItsMedium) {
  machine.plug("a");
  machine.addNode("sdb");
  MockUnit& unit = mockCalls().unit;
  unit.sequenceResult = 0;
  EXPECT_TRUE(disk().stopUnit());
  EXPECT_EQ(unit.command, std::vector<unsigned char>({0x1B, 0, 0, 0, 2, 0}));
  EXPECT_EQ(unit.direction, SG_DXFER_NONE);
  EXPECT_EQ(unit.interfaceId, 'S');
  EXPECT_EQ(unit.timeOut, 30'000U);
  EXPECT_TRUE(unit.opensWithoutMedium);
  EXPECT_FALSE(unit.isInherited);
  // A refusal is distinguished.
  unit.result = -1;
  EXPECT_FALSE(disk().stopUnit());
  unit.result = 0;
  unit.status = 2;
  EXPECT_FALSE(disk().stopUnit());
  unit.status = 0;
  unit.hostStatus = 1;
  EXPECT_FALSE(disk().stopUnit());
}

TEST_F(LinuxDiskTest, AnotherDiskOrOneThatCannotBeOpenedIsNotStopped) {
  machine.plug("a");
  machine.addNode("sdb");
  MockUnit& unit = mockCalls().unit;
  EXPECT_FALSE(disk().stopUnit());
  unit.sequenceResult = 0;
  unit.sequence = 102;
  EXPECT_FALSE(disk().stopUnit());
  unit.sequence = 101;
  machine.add("block", "nonode", "", {{"diskseq", "101\n"}},
              {{"DEVTYPE", "disk"}, {"MAJOR", "254"}, {"MINOR", "0"}});
  EXPECT_FALSE(LinuxDisk("nonode", known).stopUnit());
  EXPECT_TRUE(unit.command.empty());
}

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
  StopSource stop;
  TestPlatform ports;
  TestDiskSession session{ports.disks, ports.mainThread};
  LinuxVolumeOwner owner_{known, session, stop, {std::chrono::seconds(0), 3}};
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

TEST_F(LinuxVolumeOwnerTest, AnotherUsbDeviceOrDiskAndOneThatHasGoneIsNotTheOwner) {
  EXPECT_FALSE(owns(path, {"/dev/sdb", 0x10003}));
  EXPECT_FALSE(owns(path, {"/dev/sdc", 0x10002}));
  EXPECT_FALSE(owns(path, {"sdb", 0x10002}));
  machine.changeMedium(machine.player("a"), 0);
  EXPECT_FALSE(owns(path, identity));
  machine.pull("a");
  EXPECT_FALSE(owns(machine.folder.path(), identity));
}

TEST_F(LinuxVolumeOwnerTest, RemountUnmountsMountsAndSaysWhereTheVolumeIs) {
  EXPECT_EQ(owner_.remount(identity, "/media/where it was"), path);
  EXPECT_EQ(asked(), (std::vector<std::string>{"unmount", "mount"}));
  EXPECT_EQ(ports.disks.requests[0].expected.usbHandle, identity.usbHandle);
  EXPECT_EQ(ports.disks.requests[1].expected.node, identity.node);
}

TEST_F(LinuxVolumeOwnerTest, RemountLeavesAVolumeThatStaysInUseWhereItIsOrWhereElseItStays) {
  refuse("unmount");
  EXPECT_EQ(owner_.remount(identity, path), path);
  EXPECT_EQ(asked(), (std::vector<std::string>(3, "unmount")));
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

TEST_F(LinuxVolumeOwnerTest, RemountAsksTenTimesAndWaitsASecondBetweenTwoOfThem) {
  EXPECT_EQ(LinuxVolumeOwner::Patience().attempts, 10);
  EXPECT_EQ(LinuxVolumeOwner::Patience().pause, std::chrono::seconds(1));
  // From now on every wait fails.
  stop.request();
  EXPECT_EQ(owner_.remount(identity, path), path);
  refuse("unmount");
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
  EXPECT_EQ(asked(), (std::vector<std::string>{"unmount", "mount", "unmount"}));
}

TEST_F(LinuxVolumeOwnerTest, RemountFailsWhenTheVolumeDoesNotComeBack) {
  refuse("mount");
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
  refuse("nothing");
  machine.unmount(16);
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
}

TEST_F(LinuxVolumeOwnerTest, RemountOfADiskThatHasGoneAsksForNothing) {
  machine.pull("a");
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
  EXPECT_EQ(asked(), std::vector<std::string>());
}

TEST_F(LinuxVolumeOwnerTest, RemountOfADiskThatGoesMeanwhileFails) {
  ports.disks.complete = [this](const auto& /*request*/, const auto& answer) {
    if (asked().size() == 1) {
      machine.pull("a");
    }
    answer();
  };
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
}

TEST_F(LinuxVolumeOwnerTest, RemountEndsWithTheProgram) {
  ports.disks.complete = [this](const auto& /*request*/, const auto& /*answer*/) {
    stop.request();
  };
  EXPECT_EQ(owner_.remount(identity, path), std::nullopt);
}

}  // namespace fillstation::test
