#include "EjectRequest.h"

#include "UDisksTest.h"

namespace fillstation::test {

class EjectRequestTest : public UDisksTest {
 protected:
  std::string eject(const DiskIdentity& identity) { return ask(&DiskSession::eject, identity); }

  const std::string kList = "ObjectManager.GetManagedObjects";
  const std::string kFailed = "org.freedesktop.UDisks2.Error.Failed";
};

TEST_F(EjectRequestTest, ADriveThatCanIsPoweredOff) {
  const auto identity = rig.plugIn("a");
  rig.udisks.drives["a"] = {true, true};
  rig.machine.mount(player().minor, "x");
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Unmount", kList, "Drive.PowerOff"}));
  EXPECT_EQ(rig.udisks.calls[2].path, "/org/freedesktop/UDisks2/drives/a");
  EXPECT_FALSE(player().isPlugged);
  EXPECT_EQ(rig.log.texts(), Members());
}

TEST_F(EjectRequestTest, ADriveThatCannotIsEjected) {
  const auto identity = rig.plugIn("a");
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({kList, "Drive.Eject"}));
  EXPECT_EQ(rig.udisks.calls[1].path, "/org/freedesktop/UDisks2/drives/a");
  EXPECT_EQ(readDisk("sdb")->size, 0);
}

TEST_F(EjectRequestTest, ARefusedPowerOffBecomesAnEject) {
  const auto identity = rig.plugIn("a");
  rig.udisks.drives["a"] = {true, true};
  answer({UDisksAnswer(), error(kFailed)});
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({kList, "Drive.PowerOff", "Drive.Eject"}));
}

TEST_F(EjectRequestTest, ARefusedPowerOffIsADissenterWhereNothingCanBeEjected) {
  const auto identity = rig.plugIn("a");
  rig.udisks.drives["a"] = {false, true};
  answer({UDisksAnswer(), error(kFailed)});
  EXPECT_EQ(eject(identity), kFailed + ": So it is.");
  EXPECT_EQ(rig.udisks.members(), Members({kList, "Drive.PowerOff"}));
}

TEST_F(EjectRequestTest, NoEjectFollowsWhenAnotherDiskHasTakenTheNameMeanwhile) {
  const auto identity = rig.plugIn("a");
  rig.udisks.drives["a"] = {true, true};
  rig.udisks.handler = [this](const UDisksCall& call) {
    if (call.member != "Drive.PowerOff") {
      return UDisksAnswer();
    }
    rig.machine.changeMedium(player(), 0);
    return error(kFailed);
  };
  EXPECT_EQ(eject(identity), "Another disk has taken the name.");
  EXPECT_EQ(rig.udisks.members(), Members({kList, "Drive.PowerOff"}));
}

TEST_F(EjectRequestTest, ARefusedEjectIsADissenter) {
  const auto identity = rig.plugIn("a");
  answer({UDisksAnswer(), error(kFailed)});
  EXPECT_EQ(eject(identity), kFailed + ": So it is.");
}

TEST_F(EjectRequestTest, ABusyVolumeIsNotEjected) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  answer({error(kBusy)});
  EXPECT_EQ(eject(identity), std::string(kBusy) + ": So it is.");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Unmount"}));
}

TEST_F(EjectRequestTest, WithoutAListNothingIsEjected) {
  const auto identity = rig.plugIn("a");
  answer({error(kFailed)});
  EXPECT_EQ(eject(identity), kFailed + ": So it is.");
  EXPECT_EQ(rig.udisks.members(), Members({kList}));
}

TEST_F(EjectRequestTest, ADiskThatGoesMeanwhileIsNotEjected) {
  const auto identity = rig.plugIn("a");
  rig.udisks.handler = [this](const UDisksCall&) {
    rig.machine.pull("a");
    return UDisksAnswer();
  };
  EXPECT_EQ(eject(identity), "The disk has gone.");
  EXPECT_EQ(rig.udisks.members(), Members({kList}));
}

TEST_F(EjectRequestTest, ThePartitionsOfTheDiskShareItsDrive) {
  const auto identity = rig.plugIn("a");
  rig.machine.kernel.addPartition(player().diskPath, "sdb1", 1, 17);
  rig.udisks.blocks.push_back({"sdb1", "a"});
  rig.udisks.blocks.push_back({"sdz", ""});
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({kList, "Drive.Eject"}));
}

TEST_F(EjectRequestTest, ADriveOfTwinsIsLeftAloneAndTheUnitStopped) {
  const auto identity = rig.plugIn("a");
  rig.plugIn("b");
  rig.udisks.blocks = {{"sdc", "a"}, {"sdb", "a"}};
  rig.stopsUnits = true;
  rig.machine.mount(player().minor, "x");
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.udisks.members(), Members({"Filesystem.Unmount", kList}));
  EXPECT_EQ(rig.stoppedUnits, Members({"/dev/sdb 101"}));
  EXPECT_EQ(rig.log.texts(),
            Members({"/dev/sdb is not alone on its drive: unmounted, stopped by itself.\n"}));
}

TEST_F(EjectRequestTest, AUnitThatCannotBeStoppedIsUnmountedAllTheSame) {
  const auto identity = rig.plugIn("a");
  rig.plugIn("b");
  rig.udisks.blocks = {{"sdb", "a"}, {"sdc", "a"}};
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.stoppedUnits, Members({"/dev/sdb 101"}));
  EXPECT_EQ(rig.log.texts(),
            Members({"/dev/sdb is not alone on its drive: unmounted, not ejected.\n"}));
}

TEST_F(EjectRequestTest, WithoutADriveTheUnitIsStopped) {
  const auto identity = rig.plugIn("a");
  rig.udisks.blocks = {{"sdb", ""}};
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.stoppedUnits, Members({"/dev/sdb 101"}));
  rig.udisks.blocks = {};
  EXPECT_EQ(eject(identity), "");
  EXPECT_EQ(rig.stoppedUnits.size(), 2U);
  EXPECT_EQ(rig.udisks.members(), Members({kList, kList}));
}

}  // namespace fillstation::test
