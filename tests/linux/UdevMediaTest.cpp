#include <gtest/gtest.h>

#include <cerrno>

#include "MainLoop.h"
#include "MockMachine.h"
#include "MockMonitor.h"
#include "UdevUsbBus.h"

namespace fillstation::test {

// Media that change while their player stays plugged in.
class UdevMediaTest : public ::testing::Test {
 protected:
  UdevMediaTest() {
    machine.plug("a");
    EXPECT_TRUE(bus.open("IOUSBDevice"));
    attach = bus.watchAttach(&find);
    find(*attach);
    find(*bus.watchDetach(&find));
    bus.watchMedia([this] { ++notified; });
  }
  ~UdevMediaTest() override { mockMonitor() = {}; }

  static void find(UsbDeviceIterator& iterator) {
    while (const auto device = iterator.next()) {
      device->searchDiskName();
    }
  }
  void changeMedium(std::int64_t sizeMiB) {
    machine.changeMedium(machine.player("a"), sizeMiB);
    runLoopDry();
  }

  const DiskIdentity identity{"/dev/sdb", 0x10002};
  MockMachine machine;
  KnownDisks known;
  StopSource stop;
  UdevUsbBus bus{known, stop};
  std::shared_ptr<UsbDeviceIterator> attach;
  int notified = 0;
};

TEST_F(UdevMediaTest, AnotherMediumIsToldOfAndIsThePlayersOnceItIsTaken) {
  EXPECT_EQ(bus.takeMedium(identity), std::nullopt);
  changeMedium(32);
  EXPECT_EQ(notified, 1);
  EXPECT_EQ(known.sequenceOf(identity), 101U);
  EXPECT_EQ(bus.takeMedium(identity), 32 * 1024 * 1024);
  EXPECT_EQ(known.sequenceOf(identity), 102U);
  EXPECT_EQ(bus.takeMedium(identity), std::nullopt);
}

TEST_F(UdevMediaTest, AMediumThatGoesAndComesIsToldOfTwice) {
  changeMedium(0);
  EXPECT_EQ(bus.takeMedium(identity), 0);
  changeMedium(64);
  EXPECT_EQ(notified, 2);
  EXPECT_EQ(bus.takeMedium(identity), 64 * 1024 * 1024);
}

TEST_F(UdevMediaTest, OtherChangesAreNotToldOf) {
  const auto& player = machine.player("a");
  machine.kernel.tell(player.diskPath, "change");
  machine.kernel.tell(player.usbPath, "change");
  const auto inner = machine.kernel.addDisk("", "sdz", 0, 400, "ACTIONS ", 100, 7);
  machine.kernel.tell(inner, "add");
  machine.kernel.tell(inner, "change");
  runLoopDry();
  EXPECT_EQ(notified, 0);
}

TEST_F(UdevMediaTest, OnlyThePlayersOwnMediumIsTaken) {
  changeMedium(32);
  EXPECT_EQ(bus.takeMedium({"/dev/sdc", identity.usbHandle}), std::nullopt);
  EXPECT_EQ(bus.takeMedium({identity.node, identity.usbHandle + 1}), std::nullopt);
  machine.pull("a");
  machine.plug("a");
  EXPECT_EQ(bus.takeMedium(identity), std::nullopt);
  EXPECT_EQ(known.sequenceOf(identity), 101U);
}

TEST_F(UdevMediaTest, ItIsNotToldOfWhileEventsAreHeld) {
  bus.hold();
  changeMedium(32);
  EXPECT_EQ(notified, 0);
  bus.resume();
  runLoopDry();
  EXPECT_EQ(notified, 1);
}

TEST_F(UdevMediaTest, NobodyNeedsToBeTold) {
  bus.watchMedia({});
  changeMedium(32);
  EXPECT_EQ(bus.takeMedium(identity), 32 * 1024 * 1024);
}

TEST_F(UdevMediaTest, AMediumMayHaveChangedAmongEventsThatWereLost) {
  mockMonitor().looks = {{ENOBUFS, true}};
  changeMedium(32);
  EXPECT_EQ(notified, 1);
}

}  // namespace fillstation::test
