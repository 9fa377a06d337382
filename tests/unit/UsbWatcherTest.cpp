#include <gtest/gtest.h>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

const std::string kFoundVolume = "\n got vol name\n got vol path";

// Hands out these devices once.
class ListIterator : public UsbDeviceIterator {
 public:
  explicit ListIterator(std::vector<std::shared_ptr<TestUsbDevice>> devices)
      : devices_(std::move(devices)) {}
  std::shared_ptr<UsbDevice> next() override {
    return next_ < devices_.size() ? devices_[next_++] : nullptr;
  }

 private:
  std::vector<std::shared_ptr<TestUsbDevice>> devices_;
  std::size_t next_ = 0;
};

// One notification at a time, after a registration on an empty bus.
class UsbWatcher : public testing::Test {
 protected:
  UsbWatcher() {
    const StdCapture quiet(stdout);
    rig.registerReceiver();
    rig.ports.disks.sessionsOpened = 0;
  }

  void notify(std::vector<std::shared_ptr<TestUsbDevice>> devices, bool inserted) {
    ListIterator iterator(std::move(devices));
    StdCapture out(stdout);
    StdCapture err(stderr);
    EXPECT_EQ(USBDeviceCallback(nullptr, &iterator, inserted), 0);
    printed = out.text();
    errors = err.text();
  }
  void arrive() { notify({device}, true); }
  void leave() { notify({device}, false); }

  // Gives the disk this vendor; true when the arrival is delivered then.
  bool deliversVendor(const std::optional<PlatformValue>& vendor) {
    rig.records.clear();
    DiskDescription description = describedAs("SONGS", "file:///media/SONGS/");
    description.deviceVendor = vendor;
    rig.addDisk("sdb", description);
    arrive();
    EXPECT_EQ(errors, kPlayerLines);
    EXPECT_EQ(printed, rig.records.empty()
                           ? "start event\nend event"
                           : "start event" + kFoundVolume + "file:///media/SONGS/\nend event");
    return !rig.records.empty();
  }

  UsbRig rig;
  std::shared_ptr<TestUsbDevice> device = std::make_shared<TestUsbDevice>();
  std::string printed;
  std::string errors;
};

TEST_F(UsbWatcher, NullIteratorYieldsNothing) {
  StdCapture out(stdout);
  EXPECT_EQ(USBDeviceCallback(nullptr, nullptr, true), 0);
  EXPECT_EQ(out.text(), "start event\nend event");
}

TEST_F(UsbWatcher, ArrivalIsDeliveredWithEverythingThatIsKnown) {
  device->interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  device->interface->descriptors[2] = TestUsbInterface::descriptorOf("Stick");
  device->interface->descriptors[3] = TestUsbInterface::descriptorOf("0042");
  arrive();
  EXPECT_EQ(printed, "start event" + kFoundVolume + "file:///media/SONGS/\nend event");
  EXPECT_EQ(errors, kPlayerLines);
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].vid, "Maker");
  EXPECT_EQ(rig.records[0].pid, "Stick");
  EXPECT_EQ(rig.records[0].rev, 0x0100);
  EXPECT_EQ(rig.records[0].serialNumber, "N/A");
  EXPECT_EQ(rig.records[0].volumeName, "SONGS");
  EXPECT_EQ(rig.records[0].mountPath, "file:///media/SONGS/");
  EXPECT_EQ(rig.records[0].diskName, "/dev/sdb");
  EXPECT_EQ(rig.records[0].inserted, 1);
  EXPECT_EQ(rig.records[0].ioService, 0x00010002U);
  EXPECT_EQ(rig.records[0].size, 4096);
}

TEST_F(UsbWatcher, DepartureCarriesNothingButTheNodeAndTheHandle) {
  device->handleValue = 0xFFFFFFFF;
  leave();
  EXPECT_EQ(printed, "start eventN/A\nend event");
  EXPECT_EQ(errors, kPlayerLines);
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].vid, std::nullopt);
  EXPECT_EQ(rig.records[0].pid, std::nullopt);
  EXPECT_EQ(rig.records[0].rev, 0);
  EXPECT_EQ(rig.records[0].serialNumber, "N/A");
  EXPECT_EQ(rig.records[0].volumeName, "N/A");
  EXPECT_EQ(rig.records[0].mountPath, "N/A");
  EXPECT_EQ(rig.records[0].diskName, "/dev/sdb");
  EXPECT_EQ(rig.records[0].inserted, 0);
  EXPECT_EQ(rig.records[0].ioService, 0xFFFFFFFFU);
  EXPECT_EQ(rig.records[0].size, 0);
}

TEST_F(UsbWatcher, DepartureIsReportedWhateverTheVendor) {
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt, "OTHER"));
  leave();
  EXPECT_EQ(rig.records.size(), 1U);
}

TEST_F(UsbWatcher, DepartureAsksNeitherTheDeviceNorTheDisk) {
  leave();
  EXPECT_EQ(rig.disk->looks(), 0U);
  EXPECT_TRUE(device->interface->requests.empty());
}

TEST_F(UsbWatcher, InsertedAndRemovedTellTheDirection) {
  ListIterator arriving({device});
  ListIterator leaving({device});
  const StdCapture out(stdout);
  const StdCapture err(stderr);
  USBDeviceInserted(nullptr, &arriving);
  USBDeviceRemoved(nullptr, &leaving);
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[0].inserted, 1);
  EXPECT_EQ(rig.records[1].inserted, 0);
}

TEST_F(UsbWatcher, DeviceOfAnotherKindIsSkippedWithoutAWord) {
  device->conforming = {"IOUSBInterface"};
  arrive();
  EXPECT_EQ(errors, "");
  EXPECT_EQ(printed, "start event\nend event");
  EXPECT_EQ(device->searches, 0U);
}

TEST_F(UsbWatcher, DeviceOfADerivedClassIsSkippedAfterItsClassName) {
  device->classText = "IOUSBDeviceX";
  arrive();
  EXPECT_EQ(errors, "This device's className is IOUSBDeviceX\n");
  EXPECT_EQ(device->searches, 0U);
}

TEST_F(UsbWatcher, OtherProductNamesAreSkippedAfterTheirName) {
  for (const char* name : {"HS USB Flashdisk", "HS USB FlashDisk ", "IOUSBdevice", "Mouse", ""}) {
    device->nameText = name;
    arrive();
    EXPECT_EQ(errors, kClassLine + "Device Name is " + name + "\n");
    EXPECT_EQ(printed, "start event\nend event");
  }
  EXPECT_EQ(device->searches, 0U);
  EXPECT_TRUE(rig.records.empty());
}

TEST_F(UsbWatcher, DeviceWithoutAProductNameIsAPlayerByItsVendor) {
  device->nameText = "IOUSBDevice";
  arrive();
  EXPECT_EQ(errors, kClassLine + "Device Name is IOUSBDevice\n");
  EXPECT_EQ(rig.records.size(), 1U);
}

TEST_F(UsbWatcher, DeviceWithoutAProductNameIsDroppedWithAnotherVendor) {
  device->nameText = "IOUSBDevice";
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt, "OTHER"));
  arrive();
  EXPECT_TRUE(rig.records.empty());
  EXPECT_EQ(printed, "start event\nend event");
}

TEST_F(UsbWatcher, NamesAreCutAt127Bytes) {
  device->nameText = std::string(127, 'n');
  arrive();
  EXPECT_EQ(errors, kClassLine + "Device Name is " + std::string(127, 'n') + "\n");
  device->nameText = std::string(128, 'n');
  arrive();
  EXPECT_EQ(errors, kClassLine + "Device Name is " + std::string(127, 'n') + "\n");
  device->classText = std::string(128, 'c');
  arrive();
  EXPECT_EQ(errors, "This device's className is " + std::string(127, 'c') + "\n");
}

TEST_F(UsbWatcher, DeviceWithoutADiskCosts100PausesOnArrivalAndOnDeparture) {
  device->diskName = std::nullopt;
  for (const bool inserted : {true, false}) {
    device->searches = 0;
    notify({device}, inserted);
    EXPECT_EQ(printed, "start event" + repeated("\nno bsd name so sleeping", 100) + "\nend event");
    EXPECT_EQ(device->searches, 100U);
  }
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>(200, 100'000));
  EXPECT_TRUE(rig.records.empty());
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 0U);
}

TEST_F(UsbWatcher, DiskThatAppearsAtTheLastSearchIsFound) {
  device->search = [](std::size_t number) {
    return number < 100 ? std::nullopt : std::optional<std::string>("sdb");
  };
  arrive();
  EXPECT_EQ(printed, "start event" + repeated("\nno bsd name so sleeping", 99) + kFoundVolume +
                         "file:///media/SONGS/\nend event");
  EXPECT_EQ(rig.records.size(), 1U);
}

TEST_F(UsbWatcher, PauseComesBeforeItsLine) {
  device->search = [](std::size_t number) {
    return number == 1 ? std::nullopt : std::optional<std::string>("gone");
  };
  rig.ports.clock.onSleep = [](std::size_t) { std::fputs("[pause]", stdout); };
  arrive();
  EXPECT_EQ(printed, "start event[pause]\nno bsd name so sleeping\nend event");
}

TEST_F(UsbWatcher, DeviceWithoutADiskObjectIsSkipped) {
  for (const bool inserted : {true, false}) {
    rig.ports.disks.byName.clear();
    notify({device}, inserted);
    EXPECT_EQ(printed, "start event\nend event");
  }
  EXPECT_TRUE(rig.records.empty());
  EXPECT_EQ(rig.ports.disks.namesAsked, (std::vector<std::string>{"/dev/sdb", "/dev/sdb"}));
}

TEST_F(UsbWatcher, EachEventOpensASessionOfItsOwn) {
  arrive();
  leave();
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 2U);
}

TEST_F(UsbWatcher, DiskThatIsNeverDescribedIsDroppedAfter200LooksWithoutAPause) {
  rig.disk->describe = [](std::size_t) { return std::nullopt; };
  arrive();
  EXPECT_EQ(printed, "start event\nend event");
  EXPECT_EQ(rig.disk->looks(), 200U);
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
  EXPECT_TRUE(rig.records.empty());
}

TEST_F(UsbWatcher, DiskThatIsDescribedAtTheLastLookIsDelivered) {
  rig.disk->describe = [](std::size_t look) {
    return look < 200 ? std::nullopt : std::optional(describedAs("SONGS", std::nullopt));
  };
  arrive();
  EXPECT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.disk->looks(), 201U);
}

TEST_F(UsbWatcher, VendorIsComparedExactly) {
  EXPECT_TRUE(deliversVendor(PlatformValue::text("ACTIONS")));
  for (const char* vendor : {"actions", "ACTIONs", "ACTIONS ", "ACTION", "XCTIONS", "",
                             "\xFF"
                             "ACTIONS"}) {
    EXPECT_FALSE(deliversVendor(PlatformValue::text(vendor))) << vendor;
  }
}

TEST_F(UsbWatcher, VendorInFullWidthFormsIsTheSameVendor) {
  EXPECT_TRUE(deliversVendor(PlatformValue::text("\uFF21\uFF23\uFF34\uFF29\uFF2F\uFF2E\uFF33")));
  EXPECT_TRUE(deliversVendor(PlatformValue::text("AC\uFF34IONS")));
  EXPECT_FALSE(deliversVendor(PlatformValue::text("\uFF41CTIONS")));
  EXPECT_FALSE(deliversVendor(PlatformValue::text("\uFF22CTIONS")));
}

TEST_F(UsbWatcher, VendorThatIsAbsentOrNoTextIsAnother) {
  EXPECT_FALSE(deliversVendor(std::nullopt));
  EXPECT_FALSE(deliversVendor(PlatformValue::number(7)));
}

TEST_F(UsbWatcher, SizeThatIsAbsentOrNoNumberIsZero) {
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt, "ACTIONS", std::nullopt));
  arrive();
  DiskDescription description = describedAs("SONGS", std::nullopt);
  description.mediaSize = PlatformValue::text("big");
  rig.addDisk("sdb", description);
  arrive();
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[0].size, 0);
  EXPECT_EQ(rig.records[1].size, 0);
}

TEST_F(UsbWatcher, SizeOf64BitsIsKept) {
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt, "ACTIONS", std::int64_t{1} << 62U));
  arrive();
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].size, std::int64_t{1} << 62U);
}

TEST_F(UsbWatcher, DeviceThatCannotBeAskedIsDeliveredWithoutItsStrings) {
  device->interface = nullptr;
  arrive();
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].vid, std::nullopt);
  EXPECT_EQ(rig.records[0].pid, std::nullopt);
  EXPECT_EQ(rig.records[0].rev, 0);
  EXPECT_EQ(rig.records[0].serialNumber, "N/A");
}

TEST_F(UsbWatcher, VolumeWithoutANameIsDeliveredWithNeitherNameNorPath) {
  rig.addDisk("sdb", describedAs("", "file:///media/x/"));
  arrive();
  EXPECT_EQ(printed, "start event\n got vol path(null)\nend event");
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].volumeName, std::nullopt);
  EXPECT_EQ(rig.records[0].mountPath, std::nullopt);
}

TEST_F(UsbWatcher, VolumeWithoutAPathIsDeliveredWithItsName) {
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt));
  arrive();
  EXPECT_EQ(printed, "start event\n got vol name(null)\nend event");
  ASSERT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.records[0].volumeName, "SONGS");
  EXPECT_EQ(rig.records[0].mountPath, std::nullopt);
}

TEST_F(UsbWatcher, BlankMediumIsDeliveredAfterItsWaits) {
  rig.addDisk("sdb", describedAs(std::nullopt, std::nullopt));
  arrive();
  EXPECT_EQ(printed, "start event" + repeated("\n no vol name", 200) + "(null)\nend event");
  EXPECT_EQ(rig.records.size(), 1U);
}

TEST_F(UsbWatcher, DevicesOfOneNotificationAreHandledOneAfterTheOther) {
  const auto mouse = std::make_shared<TestUsbDevice>();
  mouse->nameText = "Mouse";
  const auto second = std::make_shared<TestUsbDevice>();
  second->diskName = "sdc";
  rig.addDisk("sdc", describedAs("MORE", std::nullopt));
  notify({device, mouse, second}, true);
  EXPECT_EQ(printed,
            "start event" + kFoundVolume + "file:///media/SONGS/\n got vol name(null)\nend event");
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[0].diskName, "/dev/sdb");
  EXPECT_EQ(rig.records[1].diskName, "/dev/sdc");
}

TEST_F(UsbWatcher, DroppedDevicesDoNotStopTheWalk) {
  const auto without = std::make_shared<TestUsbDevice>();
  without->diskName = std::nullopt;
  const auto unknown = std::make_shared<TestUsbDevice>();
  unknown->diskName = "sdz";
  const auto other = std::make_shared<TestUsbDevice>();
  other->diskName = "sdc";
  rig.addDisk("sdc", describedAs("MORE", std::nullopt, "OTHER"));
  notify({without, unknown, other, device}, true);
  EXPECT_EQ(rig.records.size(), 1U);
  notify({without, unknown, other, device}, false);
  EXPECT_EQ(rig.records.size(), 3U);
}

TEST_F(UsbWatcher, ProgramThatEndsDuringTheSearchStopsTheWalk) {
  const auto without = std::make_shared<TestUsbDevice>();
  without->diskName = std::nullopt;
  rig.ports.clock.onSleep = [this](std::size_t) { rig.ports.clock.end(); };
  notify({without, device}, true);
  EXPECT_EQ(printed, "start event\nno bsd name so sleeping\nend event");
  EXPECT_EQ(rig.ports.clock.sleeps().size(), 2U);
  EXPECT_TRUE(rig.records.empty());
}

TEST_F(UsbWatcher, ProgramThatEndsDuringTheVolumeLookupStopsTheWalkUndelivered) {
  const auto blank = std::make_shared<TestUsbDevice>();
  blank->diskName = "sdc";
  rig.addDisk("sdc", describedAs(std::nullopt, std::nullopt));
  rig.ports.clock.end();
  notify({blank, device}, true);
  EXPECT_EQ(printed, "start event\n no vol name\nend event");
  EXPECT_TRUE(rig.records.empty());
}

TEST_F(UsbWatcher, ProgramThatEndsWhileTheDescriptionIsGoneStopsTheWalkUndelivered) {
  rig.disk->describe = [](std::size_t look) {
    return look == 1 ? std::optional(describedAs("SONGS", std::nullopt)) : std::nullopt;
  };
  rig.ports.clock.end();
  notify({device, device}, true);
  EXPECT_EQ(printed, "start event\nend event");
  EXPECT_EQ(rig.ports.clock.sleeps(), std::vector<std::int64_t>{1'000'000});
  EXPECT_TRUE(rig.records.empty());
}

}  // namespace
}  // namespace fillstation::test
