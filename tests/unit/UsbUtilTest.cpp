#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

std::string converted(const std::string& text) { return cfStringRefToCString(&text); }

// The result for a description with this text between its quotes.
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

TEST(CfStringRefToCString, TextIsUnchanged) {
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

TEST(CfTypeToCString, GivesTheTextBetweenTheQuotesALeadingDigitAsX) {
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

TEST_F(UsbDescriptors, AnyClaimedCountStaysWithinTheBuffers) {
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

TEST_F(UsbDescriptors, TextsStayAfterLaterDevices) {
  device.interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  const UsbDeviceInfo record = asked(device);
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    device.interface->descriptors[1] = TestUsbInterface::descriptorOf(std::string(1, letter));
    asked(device);
  }
  EXPECT_STREQ(record.vid, "Maker");
}

constexpr std::int64_t kLong = 1'000'000;
constexpr std::int64_t kShort = 10'000;

class DiskVolume : public testing::Test {
 protected:
  // The result of one lookup, as "name at path", and its output.
  std::string lookUp(Disk* disk) {
    std::string unset = "unset";
    char* name = unset.data();
    char* path = unset.data();
    StdCapture out(stdout);
    getDiskVolume(disk, &name, &path);
    printed = out.text();
    const std::string found = formatText("%s at %s", name, path);
    for (char* text : {name, path}) {
      if (text != unset.data()) {
        std::free(text);
      }
    }
    return found;
  }
  std::string lookUp(const std::optional<std::string>& name,
                     const std::optional<std::string>& path) {
    return lookUp(rig.addDisk("sdc", describedAs(name, path)).get());
  }
  // The same, by a name that the outputs are "old" before.
  std::string lookUpByName(const char* driveName) {
    std::optional<std::string> name = "old";
    std::optional<std::string> path = "old";
    StdCapture out(stdout);
    getDiskVolumeFromDriveName(driveName, name, path);
    printed = out.text();
    return formatText("%s at %s", name, path);
  }
  // Has the disk described in one way up to a look, and then in another.
  void describe(std::size_t upTo, std::optional<DiskDescription> first,
                std::optional<DiskDescription> then) {
    rig.disk->describe = [=](std::size_t look) { return look <= upTo ? first : then; };
  }

  UsbRig rig;
  std::string printed;
};

TEST_F(DiskVolume, KnownFactsAreFoundInOneLook) {
  EXPECT_EQ(lookUp(rig.disk.get()), "SONGS at file:///media/SONGS/");
  EXPECT_EQ(printed, "\n got vol name\n got vol path");
  EXPECT_EQ(rig.disk->looks(), 1U);
  // Either of both ends the wait.
  EXPECT_EQ(lookUp("SONGS", std::nullopt), "SONGS at (null)");
  EXPECT_EQ(printed, "\n got vol name");
  EXPECT_EQ(lookUp("", "file:///x/"), "(null) at file:///x/");
  EXPECT_EQ(printed, "\n got vol path");
  EXPECT_EQ(lookUp(std::nullopt, "file:///x/"), "(null) at file:///x/");
  EXPECT_EQ(lookUp("1234", "file:///x/"), "x234 at file:///x/");
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST_F(DiskVolume, The200WaitsAreLongWithoutADescriptionAndShortWithoutAVolume) {
  std::vector<std::int64_t> waits;
  for (const int undescribed : {0, 150, 200}) {
    rig.disk = rig.addDisk("sdb", {});
    describe(static_cast<std::size_t>(undescribed), std::nullopt, DiskDescription{});
    EXPECT_EQ(lookUp(rig.disk.get()), "(null) at (null)");
    EXPECT_EQ(printed,
              repeated("\nsleeping", undescribed) + repeated("\n no vol name", 200 - undescribed));
    EXPECT_EQ(rig.disk->looks(), 200U);
    waits.insert(waits.end(), static_cast<std::size_t>(undescribed), kLong);
    waits.resize(waits.size() + static_cast<std::size_t>(200 - undescribed), kShort);
  }
  EXPECT_EQ(rig.ports.clock.sleeps(), waits);
}

TEST_F(DiskVolume, VolumeThatAppearsAtTheLastLookIsFound) {
  describe(199, DiskDescription{}, describedAs("LATE", std::nullopt));
  EXPECT_EQ(lookUp(rig.disk.get()), "LATE at (null)");
  EXPECT_EQ(printed, repeated("\n no vol name", 199) + "\n got vol name");
}

TEST_F(DiskVolume, PauseComesBeforeTheLineOfAMissingDescriptionAndAfterThatOfAMissingVolume) {
  rig.ports.clock.onSleep = [](std::size_t) { std::fputs("[pause]", stdout); };
  describe(1, std::nullopt, describedAs("A", std::nullopt));
  lookUp(rig.disk.get());
  EXPECT_EQ(printed, "[pause]\nsleeping\n got vol name");
  describe(3, DiskDescription{}, describedAs("A", std::nullopt));
  lookUp(rig.disk.get());
  EXPECT_EQ(printed, "\n no vol name[pause]\n got vol name");
}

TEST_F(DiskVolume, WithoutADiskTheOutputsAreNullAndNothingIsSaid) {
  EXPECT_EQ(lookUp(nullptr), "(null) at (null)");
  EXPECT_EQ(printed, "");
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST_F(DiskVolume, ASessionOfItsOwnIsAskedForTheNameAsGiven) {
  const auto shared = platform().createDiskSession();
  session = shared;
  EXPECT_EQ(lookUpByName("/dev/sdb"), "SONGS at file:///media/SONGS/");
  EXPECT_EQ(printed, "\n got vol name\n got vol path");
  EXPECT_EQ(session, shared);
  session = nullptr;
  EXPECT_EQ(lookUpByName("sdb"), "SONGS at file:///media/SONGS/");
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 3U);
  EXPECT_EQ(rig.ports.disks.namesAsked, (std::vector<std::string>{"/dev/sdb", "sdb"}));
}

TEST_F(DiskVolume, ByNameAnOutputStaysUntouchedWhereNothingIsFound) {
  rig.addDisk("sdb", describedAs(std::nullopt, "file:///x/"));
  EXPECT_EQ(lookUpByName("/dev/sdb"), "old at file:///x/");
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt));
  EXPECT_EQ(lookUpByName("/dev/sdb"), "SONGS at old");
  for (const char* name : {"/dev/sdz", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(lookUpByName(name), "old at old");
    EXPECT_EQ(printed, "");
  }
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

}  // namespace
}  // namespace fillstation::test
