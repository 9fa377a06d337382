#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>

#include "UsbRig.h"

namespace fillstation::test {
namespace {

const std::string kNothing = "start event\nend event";

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
    (inserted ? USBDeviceInserted : USBDeviceRemoved)(nullptr, &iterator);
    printed = out.text();
    errors = err.text();
  }
  void arrive() { notify({device}, true); }
  void leave() { notify({device}, false); }
  // The record of the arrival of a player with this disk description.
  std::string arrivedAs(const DiskDescription& description) {
    rig.records.clear();
    rig.addDisk("sdb", description);
    arrive();
    EXPECT_EQ(errors, kPlayerLines);
    EXPECT_EQ(printed == kNothing, rig.records.empty());
    return rig.records.empty() ? "" : rig.records.front();
  }
  bool deliversVendor(const std::optional<std::string>& vendor) {
    return !arrivedAs(describedAs("SONGS", "file:///media/SONGS/", vendor)).empty();
  }
  static std::shared_ptr<TestUsbDevice> deviceOf(const std::optional<std::string>& diskName) {
    auto made = std::make_shared<TestUsbDevice>();
    made->diskName = diskName;
    return made;
  }

  UsbRig rig;
  std::shared_ptr<TestUsbDevice> device = namedDevice();
  std::string printed;
  std::string errors;
};

TEST_F(UsbWatcher, DepartureHasOnlyTheNodeAndTheHandleForEveryVendor) {
  const auto disk = rig.addDisk("sdb", describedAs("SONGS", std::nullopt, "OTHER"));
  device->handleValue = 0xFFFFFFFF;
  leave();
  EXPECT_EQ(printed, "start eventN/A\nend event");
  EXPECT_EQ(errors, kPlayerLines);
  EXPECT_EQ(rig.records, std::vector<std::string>{"0 /dev/sdb of 4294967295: (null), (null), 0, "
                                                  "N/A; N/A at N/A, 0 bytes"});
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 1U);
  // Neither the disk nor the device is queried.
  EXPECT_EQ(disk->looks(), 0U);
  EXPECT_TRUE(device->interface->requests.empty());
}

TEST_F(UsbWatcher, DeviceOfAnotherKindIsSkippedWithoutAWord) {
  device->conforming = {"IOUSBInterface"};
  arrive();
  EXPECT_EQ(errors, "");
  EXPECT_EQ(printed, kNothing);
  EXPECT_EQ(device->searches, 0U);
}

TEST_F(UsbWatcher, DeviceOfADerivedClassIsSkippedAfterItsClassName) {
  for (const std::size_t length : {12U, 127U, 128U}) {
    device->classText = "IOUSBDevice" + std::string(length - 11, 'X');
    arrive();
    EXPECT_EQ(errors, "This device's className is " + device->classText.substr(0, 127) + "\n");
  }
  EXPECT_EQ(device->searches, 0U);
}

TEST_F(UsbWatcher, OtherProductNamesAreSkippedAfterTheirName) {
  for (const std::string& name :
       std::vector<std::string>{"HS USB Flashdisk", "HS USB FlashDisk ", "IOUSBdevice", "Mouse", "",
                                std::string(127, 'n'), std::string(128, 'n')}) {
    device->nameText = name;
    arrive();
    EXPECT_EQ(errors, kClassLine + "Device Name is " + name.substr(0, 127) + "\n");
    EXPECT_EQ(printed, kNothing);
  }
  EXPECT_EQ(device->searches, 0U);
}

TEST_F(UsbWatcher, DeviceWithoutAProductNameIsAPlayerByItsVendorAlone) {
  device->nameText = "IOUSBDevice";
  arrive();
  EXPECT_EQ(errors, kClassLine + "Device Name is IOUSBDevice\n");
  EXPECT_EQ(rig.records.size(), 1U);
  rig.addDisk("sdb", describedAs("SONGS", std::nullopt, "OTHER"));
  arrive();
  EXPECT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(printed, kNothing);
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

TEST_F(UsbWatcher, DiskThatAppearsAtTheLastSearchIsFoundAndEachPauseComesBeforeItsLine) {
  device->search = [](std::size_t number) {
    return number < 100 ? std::nullopt : std::optional<std::string>("sdb");
  };
  rig.ports.clock.onSleep = [](std::size_t) { std::fputs("[pause]", stdout); };
  arrive();
  EXPECT_EQ(printed, "start event" + repeated("[pause]\nno bsd name so sleeping", 99) + kFound +
                         "file:///media/SONGS/\nend event");
}

TEST_F(UsbWatcher, DeviceWithoutADiskObjectIsSkipped) {
  for (const bool inserted : {true, false}) {
    rig.ports.disks.byName.clear();
    notify({device}, inserted);
    EXPECT_EQ(printed, kNothing);
  }
  EXPECT_EQ(rig.ports.disks.namesAsked, (std::vector<std::string>{"/dev/sdb", "/dev/sdb"}));
}

TEST_F(UsbWatcher, DiskIsLookedAt200TimesWithoutAPause) {
  std::size_t first = 200;
  rig.disk->describe = [&first](std::size_t look) {
    return look < first ? std::nullopt : std::optional(describedAs("SONGS", std::nullopt));
  };
  arrive();
  EXPECT_EQ(rig.records.size(), 1U);
  EXPECT_EQ(rig.disk->looks(), 201U);
  first = 1000;
  arrive();
  EXPECT_EQ(printed, kNothing);
  EXPECT_EQ(rig.disk->looks(), 401U);
  EXPECT_EQ(rig.records.size(), 1U);
  EXPECT_TRUE(rig.ports.clock.sleeps().empty());
}

TEST_F(UsbWatcher, VendorIsComparedExactlyButForFullWidthForms) {
  for (const char* vendor :
       {"ACTIONS", "\uFF21\uFF23\uFF34\uFF29\uFF2F\uFF2E\uFF33", "AC\uFF34IONS"}) {
    EXPECT_TRUE(deliversVendor(vendor)) << vendor;
  }
  for (const char* vendor : {"actions", "ACTIONs", "ACTIONS ", "ACTION", "XCTIONS", "",
                             "\xFF"
                             "ACTIONS",
                             "\uFF41CTIONS", "\uFF22CTIONS"}) {
    EXPECT_FALSE(deliversVendor(vendor)) << vendor;
  }
  EXPECT_FALSE(deliversVendor(std::nullopt));
}

TEST_F(UsbWatcher, AbsentValuesAreDeliveredAsNullOrZero) {
  const std::string begin = "1 /dev/sdb of 65538: Maker, Stick, 256, N/A; ";
  EXPECT_EQ(arrivedAs(describedAs("SONGS", std::nullopt, "ACTIONS", std::nullopt)),
            begin + "SONGS at (null), 0 bytes");
  EXPECT_EQ(printed, "start event\n got vol name(null)\nend event");
  EXPECT_EQ(arrivedAs(describedAs("A", "file:///x/", "ACTIONS", std::int64_t{1} << 62U)),
            begin + "A at file:///x/, 4611686018427387904 bytes");
  // A path without a name is not recorded.
  EXPECT_EQ(arrivedAs(describedAs("", "file:///x/")), begin + "(null) at (null), 1024 bytes");
  EXPECT_EQ(printed, "start event\n got vol path(null)\nend event");
  EXPECT_EQ(arrivedAs(describedAs(std::nullopt, std::nullopt)),
            begin + "(null) at (null), 1024 bytes");
  EXPECT_EQ(printed, "start event" + repeated("\n no vol name", 200) + "(null)\nend event");
  device->interface = nullptr;
  EXPECT_EQ(arrivedAs(describedAs("A", "file:///x/")),
            "1 /dev/sdb of 65538: (null), (null), 0, N/A; A at file:///x/, 1024 bytes");
}

TEST_F(UsbWatcher, DevicesOfOneNotificationAreHandledOneAfterTheOther) {
  rig.addDisk("sdc", describedAs("MORE", std::nullopt));
  rig.addDisk("sdd", describedAs("MORE", std::nullopt, "OTHER"));
  const auto mouse = deviceOf("sdb");
  mouse->nameText = "Mouse";
  const std::vector<std::shared_ptr<TestUsbDevice>> devices{
      deviceOf(std::nullopt), device, mouse, deviceOf("sdz"), deviceOf("sdd"), deviceOf("sdc")};
  notify(devices, true);
  ASSERT_EQ(rig.records.size(), 2U);
  EXPECT_EQ(rig.records[0], kAsked);
  EXPECT_TRUE(rig.records[1].starts_with("1 /dev/sdc"));
  notify(devices, false);
  EXPECT_EQ(rig.records.size(), 5U);
}

TEST_F(UsbWatcher, ProgramThatEndsDuringTheSearchStopsTheWalk) {
  rig.ports.clock.onSleep = [this](std::size_t) { rig.ports.clock.end(); };
  notify({deviceOf(std::nullopt), device}, true);
  EXPECT_EQ(printed, "start event\nno bsd name so sleeping\nend event");
  EXPECT_EQ(rig.ports.clock.sleeps().size(), 2U);
  EXPECT_TRUE(rig.records.empty());
}

TEST_F(UsbWatcher, ProgramThatEndsDuringTheVolumeLookupStopsTheWalkUndelivered) {
  rig.addDisk("sdc", describedAs(std::nullopt, std::nullopt));
  rig.disk->describe = [](std::size_t look) {
    return look == 1 ? std::optional(describedAs("SONGS", std::nullopt)) : std::nullopt;
  };
  rig.ports.clock.end();
  notify({deviceOf("sdc"), device}, true);
  EXPECT_EQ(printed, "start event\n no vol name\nend event");
  notify({device, device}, true);
  EXPECT_EQ(printed, kNothing) << "while the description is gone";
  EXPECT_EQ(rig.ports.clock.sleeps(), (std::vector<std::int64_t>{10'000, 1'000'000}));
  EXPECT_TRUE(rig.records.empty());
}

const std::string kWalk = "start event" + kFound + "file:///media/SONGS/\nend event";

class UsbRegistration : public testing::Test {
 protected:
  // Registers, and returns the output.
  std::string registered(int expected) {
    StdCapture out(stdout);
    StdCapture err(stderr);
    EXPECT_EQ(rig.registerReceiver(), expected);
    errors = err.text();
    return out.text();
  }
  // The output until no event is pending any more.
  std::string printedMeanwhile() {
    StdCapture out(stdout);
    StdCapture err(stderr);
    for (int pass = 0; pass < 10; ++pass) {
      rig.ports.mainThread.runPending();
    }
    return out.text();
  }
  std::string printedBy(UsbDeviceInfo record) {
    StdCapture out(stdout);
    doStuff(record);
    return out.text();
  }

  UsbRig rig;
  std::shared_ptr<TestUsbDevice> device = namedDevice();
  std::string errors;
};

TEST_F(UsbRegistration, PlayerPluggedInBeforeTheStartIsDeliveredOnceMeanwhile) {
  rig.bus.plug(device);
  EXPECT_EQ(registered(0), kWalk + kNothing);
  EXPECT_EQ(errors, kPlayerLines);
  printedMeanwhile();
  EXPECT_EQ(rig.records, std::vector{kAsked});
  EXPECT_EQ(rig.bus.calls,
            (std::vector<std::string>{"open IOUSBDevice", "watchAttach", "watchDetach"}));
}

TEST_F(UsbRegistration, FailsWithAFailedRegistrationAfterAnEmptyWalk) {
  rig.bus.plug(device);
  rig.bus.detachRegisters = false;
  EXPECT_EQ(registered(-1), kWalk + kNothing);
  rig.bus.calls.clear();
  rig.bus.attachRegisters = false;
  EXPECT_EQ(registered(-1), kNothing);
  EXPECT_EQ(rig.bus.calls, (std::vector<std::string>{"open IOUSBDevice", "watchAttach"}));
  rig.bus.calls.clear();
  rig.bus.opens = false;
  EXPECT_EQ(registered(-1), "");
  EXPECT_EQ(rig.bus.calls, std::vector<std::string>{"open IOUSBDevice"});
}

TEST_F(UsbRegistration, EventsDuringAPauseAreHandledAfterwardsInOrder) {
  device->search = [](std::size_t number) {
    return number == 1 ? std::nullopt : std::optional<std::string>("sdb");
  };
  const auto second = std::make_shared<TestUsbDevice>();
  second->diskName = "sdc";
  rig.addDisk("sdc", describedAs("MORE", "file:///media/MORE/"));
  rig.ports.clock.onSleep = [&](std::size_t) {
    rig.bus.plug(second);
    rig.bus.unplug(second);
  };
  rig.bus.plug(device);
  EXPECT_EQ(registered(0), "start event\nno bsd name so sleeping" + kFound +
                               "file:///media/SONGS/\nend event" + kNothing);
  EXPECT_EQ(printedMeanwhile(), "start event" + kFound +
                                    "file:///media/MORE/\nend event"
                                    "start eventN/A\nend event");
  ASSERT_EQ(rig.records.size(), 3U);
  EXPECT_EQ(rig.records[0], kAsked);
  EXPECT_TRUE(rig.records[1].starts_with("1 /dev/sdc"));
  EXPECT_TRUE(rig.records[2].starts_with("0 /dev/sdc"));
}

TEST_F(UsbRegistration, DoStuffPrintsTheMountPathAndThenPassesTheRecordToTheReceiver) {
  registered(0);
  UsbDeviceInfo record;
  record.setDiskName("/dev/sdx");
  EXPECT_EQ(printedBy(record), "(null)");
  record.setMountPath("file:///media/x%20y/");
  EXPECT_EQ(printedBy(record), "file:///media/x%20y/");
  EXPECT_EQ(rig.records.size(), 2U);
  EXPECT_TRUE(rig.records.back().starts_with("0 /dev/sdx"));
  StdCapture out(stdout);
  registerForUSBNotifications(nullptr,
                              [](void*, UsbDeviceInfo*) { std::fputs("[delivery]", stdout); });
  doStuff(record);
  EXPECT_EQ(out.text(), kNothing + kNothing + "file:///media/x%20y/[delivery]");
}

TEST(UsbRegistrationFirst, MainLoopRunsOnceWithTheSessionBeforeAnythingElse) {
  UsbRig::keepNothing();
  UsbRig rig;
  session = nullptr;
  int passes = 0;
  rig.ports.mainThread.post([&] {
    ++passes;
    EXPECT_NE(session, nullptr);
    EXPECT_TRUE(rig.bus.calls.empty());
    UsbDeviceInfo record;
    doStuff(record);
  });
  StdCapture out(stdout);
  rig.registerReceiver();
  EXPECT_EQ(passes, 1);
  EXPECT_EQ(rig.ports.disks.sessionsOpened, 1U);
  // The receiver was not registered yet.
  EXPECT_TRUE(rig.records.empty());
  EXPECT_EQ(out.text(), "(null)" + kNothing + kNothing);
}

TEST(UsbRegistrationFirst, OutputHasLeftTheProcessWhenTheEventIsHandled) {
  const int target = ::memfd_create("out", 0);
  std::fflush(stdout);
  const int saved = ::dup(STDOUT_FILENO);
  ::dup2(target, STDOUT_FILENO);
  EXPECT_EQ(USBDeviceCallback(nullptr, nullptr, true), 0);
  std::array<char, 100> seen{};
  const auto count = ::pread(target, seen.data(), seen.size(), 0);
  std::fflush(stdout);
  ::dup2(saved, STDOUT_FILENO);
  ::close(saved);
  ::close(target);
  EXPECT_EQ(std::string(seen.data(), static_cast<std::size_t>(count)), kNothing);
}

}  // namespace
}  // namespace fillstation::test
