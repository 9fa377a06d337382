#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "TestUsbBus.h"
#include "UsbUtil.h"

namespace fillstation::test {
namespace {

std::string converted(const std::string& text) { return cfStringRefToCString(&text); }

// What is found in a description with this text between its quotes.
std::string extracted(const std::string& text) {
  const std::string description = "text = \"" + text + "\"";
  return cfTypeToCString(&description);
}

class UsbText : public testing::TestWithParam<const char* (*)(const std::string*)> {};

TEST_P(UsbText, NullYieldsNullAndLeavesTheBufferUntouched) {
  const std::string text = "\"kept\"";
  const char* const earlier = GetParam()(&text);
  const std::string before = earlier;
  EXPECT_EQ(GetParam()(nullptr), nullptr);
  EXPECT_EQ(earlier, before);
}

TEST_P(UsbText, CallsShareOneBufferOfTheirThread) {
  const std::string first = "\"first\"";
  const std::string second = "\"second\"";
  const char* const buffer = GetParam()(&first);
  const std::string before = buffer;
  std::thread([&] { EXPECT_NE(GetParam()(&second), before); }).join();
  EXPECT_EQ(buffer, before);
  EXPECT_EQ(GetParam()(&second), buffer);
  EXPECT_NE(buffer, before);
}

INSTANTIATE_TEST_SUITE_P(Both, UsbText, testing::Values(cfStringRefToCString, cfTypeToCString));

TEST(CfStringRefToCString, TextComesBackAsItIs) {
  for (const char* text : {"sdb", "7 \xC3\xA4\xF0\x9F\x8E\xB5\"", ""}) {
    EXPECT_EQ(converted(text), text);
  }
}

TEST(CfStringRefToCString, TextThatIsTooLongOrNotUtf8YieldsTheEmptyString) {
  EXPECT_EQ(converted(std::string(1023, 'a')), std::string(1023, 'a'));
  for (const auto& text : {std::string(1024, 'a'), std::string(5000, 'a'), std::string("\xFF")}) {
    EXPECT_EQ(converted("before"), "before");
    EXPECT_EQ(converted(text), "");
  }
}

TEST(CfTypeToCString, HasABufferOfItsOwn) {
  const std::string description = "\"value\"";
  const char* const fromValue = cfTypeToCString(&description);
  EXPECT_EQ(converted("text"), "text");
  EXPECT_STREQ(fromValue, "value");
}

TEST(CfTypeToCString, GivesWhatStandsBetweenTheQuotesALeadingDigitAsX) {
  for (const auto& [text, expected] :
       std::vector<std::pair<std::string, std::string>>{{"7DAYS", "xDAYS"},
                                                        {"0", "x"},
                                                        {"99", "x9"},
                                                        {"SONGS", "SONGS"},
                                                        {"A7", "A7"},
                                                        {"/1", "/1"},
                                                        {":1", ":1"},
                                                        {"", ""},
                                                        {"a\"b", "a"},
                                                        {"\xFF", ""}}) {
    EXPECT_EQ(extracted(text), expected) << text;
  }
}

TEST(CfTypeToCString, DescriptionThatIsTooLongOrWithoutTwoQuotesYieldsTheEmptyString) {
  const std::size_t frame = std::string("text = \"\"").size();
  EXPECT_EQ(extracted(std::string(1023 - frame, 'a')), std::string(1023 - frame, 'a'));
  EXPECT_EQ(extracted(std::string(1024 - frame, 'a')), "");
  extracted(std::string(200, 'a') + "\" an older \"result\"");
  for (const std::string text : {"7", "a\"b", ""}) {
    EXPECT_STREQ(cfTypeToCString(&text), "") << text;
  }
}

// A device that answers with 126 bytes of code units behind a header, as many as a buffer holds.
class UsbDescriptors : public testing::Test {
 protected:
  UsbDescriptors() {
    for (char letter = 'A'; full.size() < 63; ++letter) {
      full += letter;
    }
    usbDevice.descriptors[1] = TestUsbInterface::descriptorOf(full);
  }

  // The descriptor as a text; absent when the request failed.
  std::optional<std::string> textOf(std::uint8_t index) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        getUSBStringDescriptor(&usbDevice, index), &std::free);
    return text ? std::optional<std::string>(text.get()) : std::nullopt;
  }
  static UsbDeviceInfo asked(const TestUsbDevice& device) {
    UsbDeviceInfo record;
    record.setVid("old");
    record.setRev(9);
    getUSBDeviceInfo(device, record);
    return record;
  }

  std::string full;
  TestUsbInterface usbDevice;
  TestUsbDevice device;
};

TEST_F(UsbDescriptors, AStringIsAskedForInUsEnglish) {
  usbDevice.descriptors[0xFE] = TestUsbInterface::descriptorOf("text");
  EXPECT_EQ(textOf(0xFE), "text");
  EXPECT_EQ(textOf(2), std::nullopt);
  const UsbRequest& request = usbDevice.requests.front();
  EXPECT_EQ(request.requestType, 0x80);
  EXPECT_EQ(request.request, 6);
  EXPECT_EQ(request.value, 0x3FE);
  EXPECT_EQ(request.index, 1033);
  EXPECT_EQ(request.length, 128);
  EXPECT_EQ(usbDevice.bufferSizes.front(), 128U);
}

TEST_F(UsbDescriptors, LowByteOfEachCodeUnitIsTaken) {
  usbDevice.descriptors[1] = {8, 3, 0xE4, 0x00, 0x41, 0x30, 0x42, 0xFF};
  EXPECT_EQ(textOf(1),
            "\xE4"
            "AB");
}

TEST_F(UsbDescriptors, WhateverCountIsClaimedItStaysWithinTheBuffers) {
  EXPECT_EQ(textOf(1), full);
  // Nothing transferred is an enormous count, and a half code unit counts.
  const std::vector<std::pair<std::uint32_t, std::string>> claims{
      {0, full}, {1, ""},     {2, ""},     {3, "A"},     {4, "A"},
      {5, "AB"}, {129, full}, {130, full}, {1000, full}, {0xFFFFFFFF, full}};
  for (const auto& [count, expected] : claims) {
    usbDevice.reportedCount = count;
    EXPECT_EQ(textOf(1), expected) << count;
  }
  usbDevice.reportedCount.reset();
  usbDevice.descriptors[1] = {};
  EXPECT_EQ(textOf(1), "");
}

TEST(UsbDescriptorsDeathTest, NullDeviceInterfaceStopsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(getUSBStringDescriptor(nullptr, 1), testing::KilledBySignal(SIGABRT),
              "^UsbUtil:471: getUSBStringDescriptor: Assertion `usbDevice' failed\\.\n");
}

TEST_F(UsbDescriptors, RecordIsFilledFromTheDeviceByItsIndexesInThisOrder) {
  device.interface->manufacturerIndex = 5;
  device.interface->productIndex = 6;
  device.interface->serialIndex = 7;
  device.interface->release = 0xFFFF;
  device.interface->descriptors[5] = TestUsbInterface::descriptorOf("Maker");
  device.interface->descriptors[7] = TestUsbInterface::descriptorOf("0042");
  const UsbDeviceInfo record = asked(device);
  EXPECT_STREQ(record.vid, "Maker");
  EXPECT_EQ(record.pid, nullptr) << "its request failed";
  EXPECT_STREQ(record.serialNumber, "0042");
  EXPECT_EQ(record.rev, 0xFFFF);
  std::vector<int> values;
  for (const auto& request : device.interface->requests) {
    values.push_back(request.value);
  }
  EXPECT_EQ(values, (std::vector{0x305, 0x306, 0x307}));
  device.interface = nullptr;
  EXPECT_STREQ(asked(device).vid, "old") << "the device can't be asked";
  EXPECT_EQ(asked(device).rev, 9);
}

TEST_F(UsbDescriptors, TextsStayWhateverDevicesFollow) {
  device.interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  const UsbDeviceInfo record = asked(device);
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    device.interface->descriptors[1] = TestUsbInterface::descriptorOf(std::string(1, letter));
    asked(device);
  }
  EXPECT_STREQ(record.vid, "Maker");
}

}  // namespace
}  // namespace fillstation::test
