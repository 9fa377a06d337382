#include "UdevUsbBus.h"

#include <gtest/gtest.h>

#include "MainLoop.h"
#include "MockKernel.h"

namespace fillstation::test {

class UdevUsbBusTest : public ::testing::Test {
 protected:
  MockKernel kernel;
  KnownDisks known;
  StopSource stop;
};

TEST_F(UdevUsbBusTest, FindsTheDisk) {
  const auto usb = kernel.addUsb("1-2", 1, 5, {{"product", "HS USB FlashDisk\n"}});
  kernel.addDisk(usb, "sdb", 0, 16, "ACTIONS ", 131072, 7);
  UdevUsbBus bus(known, stop);
  ASSERT_TRUE(bus.open("IOUSBDevice"));
  const auto iterator = bus.watchAttach([](UsbDeviceIterator&) {});
  const auto device = iterator->next();
  ASSERT_NE(device, nullptr);
  EXPECT_EQ(device->registryName(), "HS USB FlashDisk");
  EXPECT_EQ(device->handle(), 65541U);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  kernel.setUdevDatabase("b8:16", {});
  EXPECT_EQ(device->searchDiskName(), "sdb");
  EXPECT_EQ(readDisk("sdb")->vendor, "ACTIONS");
}

}  // namespace fillstation::test
