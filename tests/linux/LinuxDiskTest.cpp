#include "LinuxDisk.h"

#include <gtest/gtest.h>
#include <scsi/sg.h>

#include "DiskCases.h"
#include "MockCalls.h"
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
  MountTable mounts{machine.mountTable()};
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
}

TEST_F(LinuxDiskTest, ADiskThatUdevHasNotLookedAtHasNoDescription) {
  machine.plug("a");
  machine.removeUdevDatabase("b8:16");
  EXPECT_EQ(disk().copyDescription().has_value(), false);
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

TEST_F(LinuxDiskTest, TheFirstPartitionsFileSystemComesBeforeTheDisksOwn) {
  machine.plug("a");
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "id", "whole"});
  machine.addPartition(machine.player("a"), 1);
  EXPECT_EQ(name(described()), "whole");
  machine.addPartition(machine.player("a"), 3, MockFileSystem{"vfat", "id3", "three"});
  machine.addPartition(machine.player("a"), 2, MockFileSystem{"vfat", "id2", "two"});
  machine.mount(18, "two");
  EXPECT_EQ(name(described()), "two");
  EXPECT_TRUE(described().volumePath->ends_with("/media/two/"));
}

TEST_F(LinuxDiskTest, AfterAWipeTheOldVolumeIsNoMore) {
  const auto identity = plugInFound();
  machine.mount(16, "old");
  known.willWipe(identity);
  EXPECT_EQ(described().deviceVendor, "ACTIONS");
  EXPECT_FALSE(described().volumeName);
  EXPECT_FALSE(described().volumePath);
  machine.setFileSystem(machine.player("a"), MockFileSystem{"vfat", "2222-BBBB", {}});
  EXPECT_EQ(name(described()), "NO NAME");
  EXPECT_TRUE(described().volumePath);
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
    machine.setAttribute(path.substr(0, path.rfind('/')), "vendor",
                         std::string(found.vendor) + "\n");
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
  // One that refuses is told apart.
  unit.result = -1;
  EXPECT_FALSE(disk().stopUnit());
  unit.result = 0;
  unit.status = 2;
  EXPECT_FALSE(disk().stopUnit());
  unit.status = 0;
  unit.hostStatus = 1;
  EXPECT_FALSE(disk().stopUnit());
}

TEST_F(LinuxDiskTest, WhatIsNotThisDiskOrCannotBeOpenedIsNotStopped) {
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
  EXPECT_FALSE(LinuxDisk("nonode", known, mounts).stopUnit());
  EXPECT_TRUE(unit.command.empty());
}

}  // namespace fillstation::test
