#include <gtest/gtest.h>

#include <cerrno>

#include "MainLoop.h"
#include "MockMachine.h"
#include "MockMonitor.h"
#include "UdevUsbBus.h"

namespace fillstation::test {

// Events that the kernel has dropped because the program was too slow for them.
class UdevOverflowTest : public ::testing::Test {
 protected:
  using Handles = std::vector<std::uint32_t>;

  ~UdevOverflowTest() override { mockMonitor() = {}; }

  // Opens the bus and notes from then on who comes and goes.
  void watch() {
    EXPECT_TRUE(bus.open("IOUSBDevice"));
    attach = bus.watchAttach([this](UsbDeviceIterator& it) { note(it, arrived); });
    detach = bus.watchDetach([this](UsbDeviceIterator& it) { note(it, left); });
    note(*attach, present);
    note(*detach, left);
  }
  static void note(UsbDeviceIterator& iterator, Handles& handles) {
    while (const auto device = iterator.next()) {
      handles.push_back(device->handle());
    }
  }
  // A device comes, and its event waits.
  std::string comes(std::uint32_t number) {
    return machine.kernel.addUsb("1-" + std::to_string(number), 1, number, {});
  }
  // It goes, and that event waits.
  void goes(const std::string& usbPath) {
    machine.kernel.tell(usbPath, "remove");
    machine.kernel.remove(usbPath);
  }
  // What waits is looked for, and the looks give this.
  static void look(const std::vector<MockMonitor::Look>& looks) {
    mockMonitor().looks = looks;
    runLoopDry();
  }
  static constexpr MockMonitor::Look kLoss{ENOBUFS, true};

  MockMachine machine;
  KnownDisks known;
  StopSource stop;
  UdevUsbBus bus{known, stop};
  std::shared_ptr<UsbDeviceIterator> attach;
  std::shared_ptr<UsbDeviceIterator> detach;
  Handles present;
  Handles arrived;
  Handles left;
};

TEST_F(UdevOverflowTest, WhoCameIsFound) {
  comes(2);
  watch();
  EXPECT_EQ(present, Handles({0x10002}));
  comes(3);
  comes(4);
  look({kLoss});
  EXPECT_EQ(arrived, Handles({0x10003, 0x10004}));
  EXPECT_EQ(left, Handles());
}

TEST_F(UdevOverflowTest, WhoWentIsMissed) {
  const auto first = comes(2);
  comes(3);
  watch();
  goes(first);
  look({kLoss});
  EXPECT_EQ(left, Handles({0x10002}));
  EXPECT_EQ(arrived, Handles());
}

TEST_F(UdevOverflowTest, AnotherDeviceOnThePortIsBoth) {
  const auto first = comes(2);
  watch();
  goes(first);
  machine.kernel.addUsb("1-2", 1, 77, {});
  look({kLoss});
  EXPECT_EQ(left, Handles({0x10002}));
  EXPECT_EQ(arrived, Handles({0x1004D}));
}

TEST_F(UdevOverflowTest, WhatStillComesIsTakenFirst) {
  const auto first = comes(2);
  watch();
  goes(first);
  // Another device gets the number, and its coming is among what was lost.
  comes(2);
  look({{ENOBUFS, false}, {0, false}, kLoss});
  EXPECT_EQ(left, Handles({0x10002}));
  EXPECT_EQ(arrived, Handles({0x10002}));
}

TEST_F(UdevOverflowTest, NothingIsToldTwiceWhenTheEventComesAfterAll) {
  watch();
  const auto usb = comes(2);
  look({kLoss});
  machine.kernel.tell(usb, "add");
  runLoopDry();
  EXPECT_EQ(arrived, Handles({0x10002}));
}

TEST_F(UdevOverflowTest, WithoutALossNobodyLooks) {
  watch();
  comes(2);
  look({{EAGAIN, true}});
  comes(3);
  look({{EINVAL, true}});
  EXPECT_EQ(arrived, Handles());
}

TEST_F(UdevOverflowTest, ThereIsRoomForALongTimeOfBeingBusy) {
  watch();
  EXPECT_EQ(mockMonitor().bufferSizes, std::vector<int>({16 * 1024 * 1024}));
}

}  // namespace fillstation::test
