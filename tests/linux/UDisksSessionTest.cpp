#include "UDisksSession.h"

#include "LinuxRig.h"

namespace fillstation::test {

class UDisksSessionTest : public UDisksTest {
 protected:
  const std::string kList = "ObjectManager.GetManagedObjects";
  const std::string kFailed = "org.freedesktop.UDisks2.Error.Failed";
};

TEST_F(UDisksSessionTest, AMountWaitsHalfAMinuteInQuarterSeconds) {
  EXPECT_EQ(MountPatience().pause * MountPatience().pauses, std::chrono::seconds(30));
  EXPECT_EQ(MountPatience().pause, std::chrono::milliseconds(250));
}

TEST_F(UDisksSessionTest, AMountIsTriedAgainOnlyWhileUDisks2KnowsNoFileSystem) {
  struct Case {
    std::deque<UDisksAnswer> answers;  // and then obedience
    std::string refused;
    std::size_t calls;
  };
  const std::string soItIs = ": So it is.";
  services.patience.pauses = 3;
  const auto identity = plugIn("a");
  for (const auto& [answers, refused, calls] :
       std::vector<Case>{{{error("org.freedesktop.UDisks2.Error.AlreadyMounted")}, "", 1},
                         {{error(kBusy)}, kBusy + soItIs, 1},
                         {{4, error(kNotThere)}, kNotThere + soItIs, 4},
                         {{3, error(kNotThere)}, "", 4},
                         {{}, "", 0}}) {  // mounted by now
    udisks.calls.clear();
    answer(answers);
    EXPECT_EQ(mount(identity), refused);
    EXPECT_EQ(udisks.members(), Members(calls, "Filesystem.Mount"));
  }
  EXPECT_TRUE(machine.isMounted(player().minor));
}

TEST_F(UDisksSessionTest, AfterAWipeTheFreshFileSystemIsWaitedFor) {
  services.patience.pauses = 1'000'000;
  const auto identity = plugIn("a");
  const auto disk = session->diskFromName(identity.node);
  known.willWipe(identity);
  const auto outcome = send(DiskRequest::mount, identity);
  int looks = 0;
  runLoopUntil([&] { return ++looks > 20; });
  EXPECT_FALSE(outcome->completed);
  EXPECT_EQ(udisks.members(), Members());
  EXPECT_FALSE(disk->copyDescription()->volumeName);
  machine.setFileSystem(player(), MockFileSystem{"vfat", "2222-BBBB", {}});
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_EQ(outcome->refused, "");
  EXPECT_EQ(udisks.members(), Members({"Filesystem.Mount"}));
  EXPECT_EQ(disk->copyDescription()->volumeName, "NO NAME");
}

// A file system whose signature the wipe doesn't reach appears when the earlier one has gone.
TEST_F(UDisksSessionTest, AfterAWipeNeitherAnOldMountNorAnythingButFatIsTaken) {
  const auto identity = plugIn("a");
  machine.mount(player().minor, "x");
  known.willWipe(identity);
  EXPECT_EQ(mount(identity), "No file system has been found.");
  machine.setFileSystem(player(), MockFileSystem{"btrfs", "3333-CCCC", {}});
  EXPECT_EQ(mount(identity), "No file system has been found.");
  EXPECT_EQ(udisks.members(), Members());
}

TEST_F(UDisksSessionTest, AForeignDiskOfTheSameNameIsNotMounted) {
  const auto identity = plugIn("a");
  answer({error(kNotThere)});
  const auto outcome = send(DiskRequest::mount, identity);
  runLoopUntil([&] { return udisks.calls.size() == 1; });
  machine.pull("a");
  machine.isTaken = [](const std::string&) { return false; };
  EXPECT_EQ(machine.plug("b").diskName, "sdb");
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_EQ(outcome->refused, "The disk belongs to another USB device.");
  EXPECT_EQ(udisks.members(), Members({"Filesystem.Mount"}));
}

TEST_F(UDisksSessionTest, EveryMountOfTheDiskAndItsPartitionsIsRemoved) {
  const auto identity = plugIn("a");
  machine.addPartition(player(), 1);
  machine.addPartition(player(), 2);
  for (const int minor : {16, 16, 18, 17}) {
    machine.mount(minor, "x");
  }
  machine.mount(32, "another disk's");
  udisks.handler = [this](const UDisksCall& call) {
    machine.unmount(call.path.ends_with("sdb1") ? 17 : call.path.ends_with("sdb2") ? 18 : 16);
    return UDisksAnswer();
  };
  EXPECT_EQ(unmount(identity), "");
  EXPECT_EQ(udisks.members(), Members(4, "Filesystem.Unmount"));
  EXPECT_FALSE(machine.isMounted(16) || machine.isMounted(17) || machine.isMounted(18));
  EXPECT_TRUE(machine.isMounted(32));
}

TEST_F(UDisksSessionTest, AVolumeThatIsBusyOrStaysMountedIsADissenter) {
  const auto identity = plugIn("a");
  machine.mount(player().minor, "x");
  answer({error(kBusy)});
  EXPECT_EQ(unmount(identity), std::string(kBusy) + ": So it is.");
  answer({UDisksAnswer()});
  EXPECT_EQ(unmount(identity), "The volume is still mounted.");
  answer({error(kBusy)});
  EXPECT_EQ(eject(identity), std::string(kBusy) + ": So it is.");
  EXPECT_EQ(udisks.members(), Members(3, "Filesystem.Unmount"));
}

TEST_F(UDisksSessionTest, AnotherProgramMayHaveUnmountedItFirst) {
  const auto identity = plugIn("a");
  machine.mount(player().minor, "x");
  udisks.handler = [this](const UDisksCall&) {
    machine.unmount(player().minor);
    return error("org.freedesktop.UDisks2.Error.NotMounted");
  };
  EXPECT_EQ(unmount(identity), "");
  EXPECT_EQ(udisks.members(), Members({"Filesystem.Unmount"}));
}

TEST_F(UDisksSessionTest, APlayerDoesNotWaitForOneThatHadItsNameBefore) {
  const auto before = plugIn("a");
  machine.mount(player().minor, "x");
  const auto stuck = sendInVain(DiskRequest::unmount, before);
  machine.unmount(player().minor);
  machine.pull("a");
  machine.isTaken = [](const std::string&) { return false; };
  const auto now = plugIn("b");
  EXPECT_EQ(now.node, before.node);
  const auto next = send(DiskRequest::unmount, now);
  runLoopDry();
  EXPECT_TRUE(next->completed);
  EXPECT_FALSE(stuck->completed);
}

TEST_F(UDisksSessionTest, TwoDisksAreUnmountedAtTheSameTime) {
  const auto first = plugIn("a");
  const auto second = plugIn("b");
  machine.mount(player().minor, "x");
  machine.mount(machine.player("b").minor, "y");
  const auto waiting = sendInVain(DiskRequest::unmount, first);
  const auto behind = send(DiskRequest::unmount, first);
  EXPECT_EQ(unmount(second), "");
  EXPECT_FALSE(waiting->completed || behind->completed);
}

TEST_F(UDisksSessionTest, ACompletionWaitsForTheMainLoop) {
  const auto identity = plugIn("a");
  machine.mount(player().minor, "x");
  udisks.handler = [this](const UDisksCall&) {
    machine.unmount(player().minor);
    return UDisksAnswer();
  };
  const auto request = send(DiskRequest::unmount, identity);
  while (udisks.calls.empty()) {
    QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents);
  }
  // More often than any answer takes to come.
  for (int turn = 0; turn < 2000; ++turn) {
    mainThread.keepWindowAlive();
  }
  EXPECT_FALSE(request->completed);
  runLoopUntil([&] { return request->completed; });
}

TEST_F(UDisksSessionTest, ARequestWithoutADiskSaysSo) {
  EXPECT_EQ(unmount({"/dev/sdb", 0x10002}), "There is no such disk.");
}

TEST_F(UDisksSessionTest,
       ADriveThatCanIsPoweredOffOrElseEjectedWhereThatCanBeAndARefusedEjectIsTheEnd) {
  struct Case {
    UDisksDrive drive;
    std::deque<UDisksAnswer> answers;  // and then obedience
    bool isRefused;
    Members members;
  };
  const auto identity = plugIn("a");
  const UDisksAnswer done;
  const auto failed = error(kFailed);
  for (const auto& [drive, answers, isRefused, members] : std::vector<Case>{
           {{true, true}, {failed}, true, {kList}},
           {{false, true}, {done, failed}, true, {kList, "Drive.PowerOff"}},
           {{true, false}, {done, failed}, true, {kList, "Drive.Eject"}},
           {{true, true}, {done, failed, done}, false, {kList, "Drive.PowerOff", "Drive.Eject"}},
           {{true, true}, {}, false, {kList, "Drive.PowerOff"}}}) {
    udisks.drives["a"] = drive;
    udisks.calls.clear();
    answer(answers);
    EXPECT_EQ(eject(identity), isRefused ? kFailed + ": So it is." : "");
    EXPECT_EQ(udisks.members(), members);
    EXPECT_TRUE(members.size() == 1 ||
                udisks.calls.back().path == "/org/freedesktop/UDisks2/drives/a");
  }
  EXPECT_FALSE(player().isPlugged);
  EXPECT_EQ(log.texts(), Members());
}

TEST_F(UDisksSessionTest, NoEjectFollowsWhenAnotherDiskHasTakenTheNameMeanwhile) {
  const auto identity = plugIn("a");
  udisks.drives["a"] = {true, true};
  udisks.handler = [this](const UDisksCall& call) {
    if (call.member != "Drive.PowerOff") {
      return UDisksAnswer();
    }
    machine.changeMedium(player(), 0);
    return error(kFailed);
  };
  EXPECT_EQ(eject(identity), "Another disk has taken the name.");
  EXPECT_EQ(udisks.members(), Members({kList, "Drive.PowerOff"}));
}

TEST_F(UDisksSessionTest, ADiskThatLeavesMeanwhileIsNotEjected) {
  const auto identity = plugIn("a");
  udisks.handler = [this](const UDisksCall&) {
    machine.pull("a");
    return UDisksAnswer();
  };
  EXPECT_EQ(eject(identity), "The disk has gone.");
  EXPECT_EQ(udisks.members(), Members({kList}));
}

TEST_F(UDisksSessionTest, ThePartitionsOfTheDiskShareItsDrive) {
  const auto identity = plugIn("a");
  machine.addPartition(player(), 1);
  udisks.blocks.push_back({"sdb1", "a"});
  udisks.blocks.push_back({"sdz", ""});
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(udisks.members(), Members({kList, "Drive.Eject"}));
}

TEST_F(UDisksSessionTest, ADriveOfTwinsIsLeftAloneAndTheUnitStopped) {
  const auto identity = plugIn("a");
  plugIn("b");
  udisks.blocks = {{"sdc", "a"}, {"sdb", "a"}};
  machine.addNode("sdb");
  mockCalls().unit.sequenceResult = 0;
  machine.mount(player().minor, "x");
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(udisks.members(), Members({"Filesystem.Unmount", kList}));
  EXPECT_EQ(mockCalls().unit.command.size(), 6U);
  EXPECT_EQ(log.texts(),
            Members({"/dev/sdb is not alone on its drive: unmounted, stopped by itself.\n"}));
}

TEST_F(UDisksSessionTest, AUnitThatCannotBeStoppedIsUnmountedAllTheSame) {
  const auto identity = plugIn("a");
  udisks.blocks = {{"sdb", ""}};
  EXPECT_EQ(eject(identity), "");
  udisks.blocks = {};
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(udisks.members(), Members({kList, kList}));
  EXPECT_EQ(log.texts(),
            Members(2, "/dev/sdb is not alone on its drive: unmounted, not ejected.\n"));
}

}  // namespace fillstation::test
