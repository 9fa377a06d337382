#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>

#include "TestUsbBus.h"
#include "UsbUtil.h"

namespace fillstation::test {
namespace {

// The descriptor as a text; absent when the request failed.
std::optional<std::string> descriptorText(TestUsbInterface& usbDevice, std::uint8_t index) {
  const std::unique_ptr<char, decltype(&std::free)> text(getUSBStringDescriptor(&usbDevice, index),
                                                         &std::free);
  return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

// 126 bytes of code units 'a', 'b', … behind a header, as many as a buffer holds.
std::vector<std::uint8_t> fullDescriptor() {
  std::string text;
  for (char letter = 'A'; text.size() < 63; ++letter) {
    text += letter;
  }
  return TestUsbInterface::descriptorOf(text);
}

std::string fullText() {
  std::string text;
  for (char letter = 'A'; text.size() < 63; ++letter) {
    text += letter;
  }
  return text;
}

TEST(UsbDeviceInfo, FreshRecordHasNullStringsAndZeroNumbers) {
  const UsbDeviceInfo record;
  EXPECT_EQ(record.vid, nullptr);
  EXPECT_EQ(record.pid, nullptr);
  EXPECT_EQ(record.serialNumber, nullptr);
  EXPECT_EQ(record.mountPath, nullptr);
  EXPECT_EQ(record.volumeName, nullptr);
  EXPECT_EQ(record.rev, 0);
  EXPECT_EQ(record.inserted, 0);
  EXPECT_EQ(record.ioService, 0U);
  EXPECT_EQ(record.size, 0);
}

TEST(UsbDeviceInfo, SettersStoreThePointersThatTheyAreGiven) {
  const std::array<const char*, 6> texts = {"v", "p", "s", "m", "n", "d"};
  UsbDeviceInfo record;
  record.setVid(texts[0]);
  record.setPid(texts[1]);
  record.setSerialNumber(texts[2]);
  record.setMountPath(texts[3]);
  record.setVolumeName(texts[4]);
  record.setDiskName(texts[5]);
  record.setRev(-3);
  record.setSize(1LL << 40U);
  EXPECT_EQ(record.vid, texts[0]);
  EXPECT_EQ(record.pid, texts[1]);
  EXPECT_EQ(record.serialNumber, texts[2]);
  EXPECT_EQ(record.mountPath, texts[3]);
  EXPECT_EQ(record.volumeName, texts[4]);
  EXPECT_EQ(record.diskName, texts[5]);
  EXPECT_EQ(record.rev, -3);
  EXPECT_EQ(record.size, 1LL << 40U);
}

TEST(UsbDeviceInfo, InsertedIsOneForTrueAndZeroForFalse) {
  UsbDeviceInfo record;
  record.setInserted(true);
  EXPECT_EQ(record.inserted, 1);
  record.setInserted(false);
  EXPECT_EQ(record.inserted, 0);
}

TEST(GetUSBStringDescriptor, AsksForTheStringInUsEnglish) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[0xFE] = TestUsbInterface::descriptorOf("text");
  EXPECT_EQ(descriptorText(usbDevice, 0xFE), "text");
  ASSERT_EQ(usbDevice.requests.size(), 1U);
  const UsbRequest& request = usbDevice.requests.front();
  EXPECT_EQ(request.requestType, 0x80);
  EXPECT_EQ(request.request, 6);
  EXPECT_EQ(request.value, 0x3FE);
  EXPECT_EQ(request.index, 1033);
  EXPECT_EQ(request.length, 128);
  EXPECT_EQ(usbDevice.bufferSizes.front(), 128U);
}

TEST(GetUSBStringDescriptor, FailedRequestYieldsNull) {
  TestUsbInterface usbDevice;
  EXPECT_EQ(descriptorText(usbDevice, 1), std::nullopt);
}

TEST(GetUSBStringDescriptor, LowByteOfEachCodeUnitIsTaken) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[1] = {8, 3, 0xE4, 0x00, 0x41, 0x30, 0x42, 0xFF};
  EXPECT_EQ(descriptorText(usbDevice, 1),
            "\xE4"
            "AB");
}

TEST(GetUSBStringDescriptor, ZeroBytesTransferredStayWithinTheBuffers) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[1] = {};
  EXPECT_EQ(descriptorText(usbDevice, 1), "");
  // The enormous count takes all that the buffer holds.
  usbDevice.descriptors[1] = fullDescriptor();
  usbDevice.reportedCount = 0;
  EXPECT_EQ(descriptorText(usbDevice, 1), fullText());
}

TEST(GetUSBStringDescriptor, HeaderAloneIsTheEmptyString) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[1] = fullDescriptor();
  usbDevice.reportedCount = 1;
  EXPECT_EQ(descriptorText(usbDevice, 1), "");
  usbDevice.reportedCount = 2;
  EXPECT_EQ(descriptorText(usbDevice, 1), "");
}

TEST(GetUSBStringDescriptor, OddTransferCountsItsHalfCodeUnit) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[1] = fullDescriptor();
  usbDevice.reportedCount = 3;
  EXPECT_EQ(descriptorText(usbDevice, 1), "A");
  usbDevice.reportedCount = 4;
  EXPECT_EQ(descriptorText(usbDevice, 1), "A");
  usbDevice.reportedCount = 5;
  EXPECT_EQ(descriptorText(usbDevice, 1), "AB");
}

TEST(GetUSBStringDescriptor, FullTransferFillsTheBufferAndKeepsATerminator) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[1] = fullDescriptor();
  EXPECT_EQ(descriptorText(usbDevice, 1), fullText());
}

TEST(GetUSBStringDescriptor, OverlongTransferStaysWithinTheBuffers) {
  TestUsbInterface usbDevice;
  usbDevice.descriptors[1] = fullDescriptor();
  for (const std::uint32_t count : {129U, 130U, 1000U, 0xFFFFFFFFU}) {
    usbDevice.reportedCount = count;
    EXPECT_EQ(descriptorText(usbDevice, 1), fullText());
  }
}

TEST(GetUSBStringDescriptorDeathTest, NullDeviceInterfaceStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(getUSBStringDescriptor(nullptr, 1), testing::KilledBySignal(SIGABRT),
              "^UsbUtil:471: getUSBStringDescriptor: Assertion `usbDevice' failed\\.\n");
}

TEST(GetUSBDeviceInfo, FillsTheRecordFromTheDevice) {
  TestUsbDevice device;
  device.interface->manufacturerIndex = 5;
  device.interface->productIndex = 6;
  device.interface->serialIndex = 7;
  device.interface->release = 0xFFFF;
  device.interface->descriptors[5] = TestUsbInterface::descriptorOf("Maker");
  device.interface->descriptors[6] = TestUsbInterface::descriptorOf("Stick");
  device.interface->descriptors[7] = TestUsbInterface::descriptorOf("0042");
  UsbDeviceInfo record;
  getUSBDeviceInfo(device, record);
  EXPECT_STREQ(record.vid, "Maker");
  EXPECT_STREQ(record.pid, "Stick");
  EXPECT_STREQ(record.serialNumber, "0042");
  EXPECT_EQ(record.rev, 0xFFFF);
}

TEST(GetUSBDeviceInfo, AsksForMakerProductAndSerialNumberInThisOrder) {
  TestUsbDevice device;
  UsbDeviceInfo record;
  getUSBDeviceInfo(device, record);
  ASSERT_EQ(device.interface->requests.size(), 3U);
  EXPECT_EQ(device.interface->requests[0].value, 0x301);
  EXPECT_EQ(device.interface->requests[1].value, 0x302);
  EXPECT_EQ(device.interface->requests[2].value, 0x303);
}

TEST(GetUSBDeviceInfo, FailedDescriptorIsNullInTheRecord) {
  TestUsbDevice device;
  device.interface->descriptors[2] = TestUsbInterface::descriptorOf("Stick");
  UsbDeviceInfo record;
  record.setVid("old");
  getUSBDeviceInfo(device, record);
  EXPECT_EQ(record.vid, nullptr);
  EXPECT_STREQ(record.pid, "Stick");
  EXPECT_EQ(record.serialNumber, nullptr);
}

TEST(GetUSBDeviceInfo, LeavesTheRecordWhenTheDeviceCannotBeAsked) {
  TestUsbDevice device;
  device.interface = nullptr;
  UsbDeviceInfo record;
  record.setVid("vid");
  record.setRev(9);
  getUSBDeviceInfo(device, record);
  EXPECT_STREQ(record.vid, "vid");
  EXPECT_EQ(record.rev, 9);
}

TEST(GetUSBDeviceInfo, TextsStayWhateverDevicesFollow) {
  TestUsbDevice device;
  device.interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  UsbDeviceInfo record;
  getUSBDeviceInfo(device, record);
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    device.interface->descriptors[1] = TestUsbInterface::descriptorOf(std::string(1, letter));
    UsbDeviceInfo other;
    getUSBDeviceInfo(device, other);
  }
  EXPECT_STREQ(record.vid, "Maker");
}

}  // namespace
}  // namespace fillstation::test
