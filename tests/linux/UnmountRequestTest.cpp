#include "UnmountRequest.h"

#include "UDisksTest.h"

namespace fillstation::test {

class UnmountRequestTest : public UDisksTest {
 protected:
  std::string unmount(const DiskIdentity& identity) { return ask(&DiskSession::unmount, identity); }
};

TEST_F(UnmountRequestTest, WhatIsNotMountedIsLeftAlone) {
  EXPECT_EQ(unmount(rig.plugIn("a")), "");
  EXPECT_EQ(rig.udisks.members(), Members());
}

TEST_F(UnmountRequestTest, EveryMountOfTheDiskAndItsPartitionsGoes) {
  const auto identity = rig.plugIn("a");
  rig.machine.kernel.addPartition(player().diskPath, "sdb1", 1, 17);
  rig.machine.kernel.addPartition(player().diskPath, "sdb2", 2, 18);
  for (const int minor : {16, 16, 18, 17}) {
    rig.machine.mount(minor, "x");
  }
  rig.machine.mount(32, "another disk's");
  rig.udisks.handler = [this](const UDisksCall& call) {
    rig.machine.unmount(call.path.ends_with("sdb1") ? 17 : call.path.ends_with("sdb2") ? 18 : 16);
    return UDisksAnswer();
  };
  EXPECT_EQ(unmount(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members(4, "Filesystem.Unmount"));
  EXPECT_FALSE(rig.machine.isMounted(16) || rig.machine.isMounted(17) || rig.machine.isMounted(18));
  EXPECT_TRUE(rig.machine.isMounted(32));
}

TEST_F(UnmountRequestTest, ABusyVolumeIsADissenter) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  answer({error(kBusy)});
  EXPECT_EQ(unmount(identity), std::string(kBusy) + ": So it is.");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Unmount"}));
}

TEST_F(UnmountRequestTest, APlayerDoesNotWaitForOneThatHadItsNameBefore) {
  const auto before = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  answer({silence()});
  const auto stuck = send(&DiskSession::unmount, before);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  rig.machine.unmount(player().minor);
  rig.machine.pull("a");
  rig.machine.isTaken = [](const std::string&) { return false; };
  const auto now = rig.plugIn("b");
  EXPECT_EQ(now.node, before.node);
  const auto next = send(&DiskSession::unmount, now);
  runLoopDry();
  EXPECT_TRUE(next->completed);
  EXPECT_FALSE(stuck->completed);
}

TEST_F(UnmountRequestTest, SomebodyElseMayHaveBeenFaster) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  rig.udisks.handler = [this](const UDisksCall&) {
    rig.machine.unmount(player().minor);
    return error("org.freedesktop.UDisks2.Error.NotMounted");
  };
  EXPECT_EQ(unmount(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Unmount"}));
}

TEST_F(UnmountRequestTest, AMountThatStaysIsADissenter) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  answer({UDisksAnswer()});
  EXPECT_EQ(unmount(identity), "The volume is still mounted.");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Unmount"}));
}

TEST_F(UnmountRequestTest, TwoDisksAreUnmountedAtTheSameTime) {
  const auto first = rig.plugIn("a");
  const auto second = rig.plugIn("b");
  rig.machine.mount(player().minor, "x");
  rig.machine.mount(rig.machine.player("b").minor, "y");
  answer({silence()});
  const auto waiting = send(&DiskSession::unmount, first);
  const auto behind = send(&DiskSession::unmount, first);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  EXPECT_EQ(unmount(second), "");
  EXPECT_FALSE(waiting->completed || behind->completed);
}

TEST_F(UnmountRequestTest, ACompletionWaitsForTheMainLoop) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  rig.udisks.handler = [this](const UDisksCall&) {
    rig.machine.unmount(player().minor);
    return UDisksAnswer();
  };
  const auto request = send(&DiskSession::unmount, identity);
  while (rig.udisks.calls.empty()) {
    QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
  }
  // More often than any answer takes to come.
  for (int turn = 0; turn < 2000; ++turn) {
    rig.mainThread.keepWindowAlive();
  }
  EXPECT_FALSE(request->completed);
  runLoopUntil([&] { return request->completed; });
}

TEST_F(UnmountRequestTest, ARequestWithoutADiskSaysSo) {
  EXPECT_EQ(unmount({"/dev/sdb", 0x10002}), "There is no such disk.");
}

TEST_F(UnmountRequestTest, AnotherVendorsDiskIsLeftMounted) {
  player().vendor = "OTHER";
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  EXPECT_EQ(unmount(identity), "The disk is not a player's.");
  EXPECT_EQ(rig.udisks.members(), Members());
}

}  // namespace fillstation::test
