#include <gtest/gtest.h>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

const std::string kPlayerLines =
    "This device's className is IOUSBDevice\nDevice Name is HS USB FlashDisk\n";

TEST(UsbWatcher, PlayerPluggedInBeforeTheStartIsDeliveredOnceDuringTheRegistration) {
  UsbRig rig;
  const auto device = std::make_shared<TestUsbDevice>();
  device->interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  device->interface->descriptors[2] = TestUsbInterface::descriptorOf("Stick");
  device->interface->descriptors[3] = TestUsbInterface::descriptorOf("0042");
  rig.bus.plug(device);
  StdCapture out(stdout);
  StdCapture err(stderr);
  const int result = rig.registerReceiver();
  EXPECT_EQ(out.text(),
            "start event\n got vol name\n got vol pathfile:///media/SONGS/\nend event"
            "start event\nend event");
  EXPECT_EQ(err.text(), kPlayerLines);
  EXPECT_EQ(result, 0);
  ASSERT_EQ(rig.records.size(), 1U);
  const KeptRecord& record = rig.records.front();
  EXPECT_EQ(record.vid, "Maker");
  EXPECT_EQ(record.pid, "Stick");
  EXPECT_EQ(record.rev, 0x0100);
  EXPECT_EQ(record.serialNumber, "N/A");
  EXPECT_EQ(record.volumeName, "SONGS");
  EXPECT_EQ(record.mountPath, "file:///media/SONGS/");
  EXPECT_EQ(record.diskName, "/dev/sdb");
  EXPECT_EQ(record.inserted, 1);
  EXPECT_EQ(record.ioService, 0x00010002U);
  EXPECT_EQ(record.size, 4096);
}

}  // namespace
}  // namespace fillstation::test
