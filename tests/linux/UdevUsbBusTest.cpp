#include "UdevUsbBus.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>

#include "MainLoop.h"
#include "MockMachine.h"

namespace fillstation::test {

class UdevUsbBusTest : public ::testing::Test {
 protected:
  using Devices = std::vector<std::shared_ptr<UsbDevice>>;
  using Handles = std::vector<std::uint32_t>;

  static Devices all(UsbDeviceIterator& iterator) {
    Devices devices;
    while (auto device = iterator.next()) {
      devices.push_back(std::move(device));
    }
    return devices;
  }

  // The devices that are present when the bus is opened; `arrived` and `left` record later events.
  Devices watch() {
    EXPECT_TRUE(bus.open("IOUSBDevice"));
    const auto note = [](Devices& devices) {
      return [&devices](UsbDeviceIterator& iterator) {
        for (auto& device : all(iterator)) {
          devices.push_back(std::move(device));
        }
      };
    };
    auto present = all(*bus.watchAttach(note(arrived)));
    left = all(*bus.watchDetach(note(left)));
    return present;
  }
  std::shared_ptr<UsbDevice> onlyDevice() {
    const auto present = watch();
    EXPECT_EQ(present.size(), 1U);
    return present.at(0);
  }
  static Handles handlesOf(const Devices& devices) {
    Handles handles;
    for (const auto& device : devices) {
      handles.push_back(device->handle());
    }
    return handles;
  }

  // A device comes, and its event waits; it goes, and that event waits.
  std::string comes(std::uint32_t number) {
    return machine.addUsb("1-" + std::to_string(number), 1, number);
  }
  void goes(const std::string& usbPath) {
    machine.tell(usbPath, "remove");
    machine.remove(usbPath);
  }
  // Looks at the waiting events, with this result.
  static void look(const std::vector<MockCalls::Look>& looks) {
    mockCalls().looks = looks;
    runLoopDry();
  }
  static constexpr MockCalls::Look kLoss{ENOBUFS, true};

  // The disk below a unit, which udev has looked at.
  void addDisk(const std::string& unitPath, const std::string& name, int minor) {
    machine.addDisk(unitPath, name, minor);
    machine.setUdevDatabase("b8:" + std::to_string(minor));
  }

  MockMachine machine;
  KnownDisks known;
  StopSource stop;
  UdevUsbBus bus{known, stop};
  Devices arrived;
  Devices left;
};

TEST_F(UdevUsbBusTest, InterfacesAndOtherDevicesAreNone) {
  const auto usb = comes(2);
  const auto add = [&](const char* subsystem, const char* name, const char* type, int minor) {
    machine.setUdevDatabase("c189:" + std::to_string(minor));
    return machine.add(subsystem, name, usb, {},
                       {{"DEVTYPE", type},
                        {"BUSNUM", "001"},
                        {"DEVNUM", std::to_string(minor)},
                        {"MAJOR", "189"},
                        {"MINOR", std::to_string(minor)}});
  };
  add("usb", "1-2:1.0", "usb_interface", 70);
  add("net", "eth0", "usb_device", 71);
  EXPECT_EQ(onlyDevice()->handle(), 0x10002U);
  machine.tell(add("usb", "1-2:1.1", "usb_interface", 72), "add");
  machine.tell(add("net", "eth1", "usb_device", 73), "add");
  runLoopDry();
  EXPECT_TRUE(arrived.empty());
}

TEST_F(UdevUsbBusTest, ABusThatCannotBeListenedToIsNotOpened) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const bool opened = bus.open("IOUSBDevice");
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_FALSE(opened);
  EXPECT_TRUE(bus.open("IOUSBDevice"));
}

TEST_F(UdevUsbBusTest, ADeviceArrivesWhenUdevHasLookedAtIt) {
  const auto usb = comes(2);
  machine.removeUdevDatabase(MockMachine::usbDatabaseId(1, 2));
  EXPECT_TRUE(watch().empty());
  machine.setUdevDatabase(MockMachine::usbDatabaseId(1, 2));
  machine.tell(usb, "add");
  runLoopDry();
  EXPECT_EQ(handlesOf(arrived), Handles({0x10002}));
}

TEST_F(UdevUsbBusTest, ADeviceArrivesAndLeavesOnceForAnyNumberOfEvents) {
  const auto usb = comes(2);
  EXPECT_EQ(watch().size(), 1U);
  for (const char* action : {"add", "change", "bind"}) {
    machine.tell(usb, action);
  }
  runLoopDry();
  EXPECT_TRUE(arrived.empty() && left.empty());
  machine.tell(usb, "remove");
  machine.tell(usb, "remove");
  runLoopDry();
  EXPECT_EQ(left.size(), 1U);
}

TEST_F(UdevUsbBusTest, ADeviceWithoutNumbersOrThatHasGoneBeforeItWasReadIsNone) {
  const auto path = machine.add("usb", "1-7", "", {{"bDeviceClass", "00\n"}},
                                {{"DEVTYPE", "usb_device"}, {"BUSNUM", "001"}});
  EXPECT_TRUE(watch().empty());
  machine.tell(path, "add");
  machine.plug("a");
  machine.pull("a");
  runLoopDry();
  EXPECT_TRUE(arrived.empty() && left.empty());
}

TEST_F(UdevUsbBusTest, NameAndClassAreKnownWhenTheDeviceHasGoneAndItsPortIsNot) {
  machine.plug("a");
  machine.addUsb("3-2.5", 3, 127);
  EXPECT_EQ(handlesOf(watch()), Handles({0x10002, 3 * 65536 + 127}));
  EXPECT_EQ(bus.placeOf(0x10002).port, "1-2");
  EXPECT_EQ(bus.placeOf(0x3007F).port, "3-2.5");
  EXPECT_EQ(bus.placeOf(0x1007F).port, "");
  EXPECT_EQ(bus.placeOf(0x10002).slot, "");
  EXPECT_EQ(bus.placeOf(0x10002).speed, "");
  machine.pull("a");
  runLoopDry();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0]->registryName(), "HS USB FlashDisk");
  EXPECT_EQ(left[0]->className(), "IOUSBDevice");
  EXPECT_EQ(bus.placeOf(0x10002).port, "");
}

TEST_F(UdevUsbBusTest, ARuleMayNameAPortsSlotAndTheLinksSpeedIsRead) {
  machine.add("usb", "1-2", "", {{"bDeviceClass", "00\n"}, {"speed", "12\n"}},
              {{"DEVTYPE", "usb_device"},
               {"MAJOR", "189"},
               {"MINOR", "4"},
               {"BUSNUM", "001"},
               {"DEVNUM", "005"},
               {"FILLSTATION_SLOT", "7"}});
  machine.setUdevDatabase("c189:4");
  watch();
  EXPECT_EQ(bus.placeOf(0x10005).slot, "7");
  EXPECT_EQ(bus.placeOf(0x10005).speed, "12");
}

TEST_F(UdevUsbBusTest, ADiskIsFoundOnceUdevHasLookedAtItAndItHasASequenceNumber) {
  const auto& player = machine.plug("a");
  machine.addPartition(player, 1);
  machine.removeUdevDatabase("b8:16");
  const auto device = onlyDevice();
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  machine.setUdevDatabase("b8:16");
  // Without a sequence number it couldn't be guarded.
  machine.setAttribute(player.diskPath, "diskseq", "none\n");
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  EXPECT_FALSE(known.remembers("sdb"));
  machine.setAttribute(player.diskPath, "diskseq", "7\n");
  EXPECT_EQ(device->searchDiskName(), "sdb");
  machine.plug("b");
  runLoopDry();
  EXPECT_EQ(arrived.at(0)->searchDiskName(), "sdc");
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", 0x10002}), 7U);
}

TEST_F(UdevUsbBusTest, AHubIsOfAnotherClassAndOwnsNoDiskOfTheDevicesBehindIt) {
  const auto hub = machine.addUsb("1-2", 1, 2, {{"bDeviceClass", "09\n"}});
  addDisk(machine.addUnit(machine.addUsb("1-2.1", 1, 3, {}, hub), 5, 0), "sdb", 16);
  const auto present = watch();
  ASSERT_EQ(present.size(), 2U);
  EXPECT_EQ(present[0]->className(), "IOUSBHubDevice");
  EXPECT_EQ(present[0]->registryName(), "IOUSBDevice");
  EXPECT_TRUE(present[0]->conformsTo("IOUSBDevice"));
  EXPECT_EQ(present[0]->searchDiskName(), std::nullopt);
  EXPECT_EQ(present[1]->searchDiskName(), "sdb");
}

TEST_F(UdevUsbBusTest, TheLowestUnitIsThePlayerAndWaitedForWhileOthersHaveTheirDisksAlready) {
  const auto usb = comes(2);
  const auto lowest = machine.addUnit(usb, 5, 9);
  addDisk(machine.addUnit(usb, 5, 10), "sdb", 16);
  addDisk(machine.addUnit(usb, 5, 11), "sdd", 48);
  const auto device = onlyDevice();
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  EXPECT_FALSE(known.remembers("sdb"));
  machine.addDisk(lowest, "sdc", 32);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  machine.setUdevDatabase("b8:32");
  EXPECT_EQ(device->searchDiskName(), "sdc");
}

TEST_F(UdevUsbBusTest, AUnitThatIsNoDiskOrNotConnectedIsNotThePlayer) {
  const auto usb = comes(2);
  addDisk(machine.addUnit(usb, 5, 0, "5"), "sr0", 16);
  machine.addUnit(usb, 5, 1, "0", " ");
  machine.add("net", "eth0", usb, {{"type", "0\n"}}, {});
  addDisk(machine.addUnit(usb, 5, 2, "14", "\x0E its name"), "sdb", 32);
  EXPECT_EQ(onlyDevice()->searchDiskName(), "sdb");
}

TEST_F(UdevUsbBusTest, AnotherDeviceOnThePortIsNotTakenForTheOneThatWas) {
  const auto usb = machine.addUsb("1-2", 1, 2, {{"product", "First\n"}});
  const auto device = onlyDevice();
  machine.remove(usb);
  const auto again = machine.addUsb("1-2", 1, 3, {{"product", "Second\n"}});
  addDisk(machine.addUnit(again, 5, 0), "sdb", 16);
  EXPECT_EQ(device->openInterface(), nullptr);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
}

TEST_F(UdevUsbBusTest, StringsAreReadWhenTheDeviceIsAsked) {
  const auto usb = comes(2);
  const auto device = onlyDevice();
  EXPECT_EQ(device->openInterface()->manufacturerStringIndex(), 0);
  EXPECT_EQ(device->openInterface()->releaseNumber(), 0);
  machine.setAttribute(usb, "bcdDevice", "0a10\n");
  machine.setAttribute(usb, "manufacturer", "M\n");
  EXPECT_EQ(device->openInterface()->manufacturerStringIndex(), 1);
  EXPECT_EQ(device->openInterface()->releaseNumber(), 0x0A10);
}

TEST_F(UdevUsbBusTest, AnIteratorMayBeWalkedWhenTheBusHasGone) {
  machine.plug("a");
  auto ended = std::make_unique<UdevUsbBus>(known, stop);
  ASSERT_TRUE(ended->open("IOUSBDevice"));
  const auto attach = ended->watchAttach([](UsbDeviceIterator&) {});
  const auto detach = ended->watchDetach([](UsbDeviceIterator&) {});
  ended.reset();
  EXPECT_EQ(all(*attach).size(), 1U);
  EXPECT_TRUE(all(*detach).empty());
}

TEST_F(UdevUsbBusTest, ArrivalsAndDeparturesAmongLostEventsAreFound) {
  const auto first = comes(2);
  const auto second = comes(3);
  comes(5);
  EXPECT_EQ(handlesOf(watch()), Handles({0x10002, 0x10003, 0x10005}));
  goes(first);
  goes(second);
  comes(4);
  // Another device on a port.
  machine.addUsb("1-2", 1, 77);
  look({kLoss});
  EXPECT_EQ(handlesOf(left), Handles({0x10002, 0x10003}));
  EXPECT_EQ(handlesOf(arrived), Handles({0x1004D, 0x10004}));
}

TEST_F(UdevUsbBusTest, WaitingEventsAreReadBeforeALossIsRepaired) {
  const auto first = comes(2);
  watch();
  machine.tell(first, "change");
  goes(first);
  // Another device gets the number, and its arrival is among the lost events.
  comes(2);
  look({{ENOBUFS, false}, {0, false}, {0, false}, {EAGAIN, true}});
  EXPECT_EQ(handlesOf(left), Handles({0x10002}));
  EXPECT_EQ(handlesOf(arrived), Handles({0x10002}));
}

TEST_F(UdevUsbBusTest, WithoutALossThereIsNoSearchAndTheQueueHoldsALongBusyTime) {
  watch();
  comes(2);
  look({{EAGAIN, true}});
  comes(3);
  look({{EINVAL, true}});
  EXPECT_TRUE(arrived.empty());
  EXPECT_EQ(mockCalls().bufferSizes, std::vector<int>({16 * 1024 * 1024}));
}

// The descriptor of a text, requested without a limit.
static std::vector<std::uint8_t> descriptorOf(const std::string& text) {
  StringDescriptors device({"", text, ""}, 0);
  std::array<std::uint8_t, 300> buffer{};
  const auto count = device.deviceRequest({0x80, 6, 0x302, 1033, 300}, buffer);
  return {buffer.begin(), buffer.begin() + count.value_or(0)};
}

TEST(StringDescriptorsTest, CharactersAreCodeUnitsLowByteFirst) {
  const std::vector<std::pair<std::string, std::vector<std::uint8_t>>> texts{
      {"aä\u4E2D", {8, 3, 'a', 0, 0xE4, 0, 0x2D, 0x4E}},
      {"\uFFFF", {4, 3, 0xFF, 0xFF}},
      {"\U00010000", {6, 3, 0x00, 0xD8, 0x00, 0xDC}},
      {"\U0001F600", {6, 3, 0x3D, 0xD8, 0x00, 0xDE}},
      {"\xFF", {2, 3}}};  // not UTF-8
  for (const auto& [text, bytes] : texts) {
    EXPECT_EQ(descriptorOf(text), bytes);
  }
}

TEST(StringDescriptorsTest, ALongTextEndsWhereItsLengthNoLongerFits) {
  EXPECT_EQ(descriptorOf(std::string(125, 'x')).size(), 252U);
  EXPECT_EQ(descriptorOf(std::string(126, 'x')).size(), 254U);
  const auto longest = descriptorOf(std::string(127, 'x'));
  EXPECT_EQ(longest.size(), 254U);
  EXPECT_EQ(longest[0], 254);
}

// Media that change while their player stays plugged in.
class UdevMediaTest : public UdevUsbBusTest {
 protected:
  UdevMediaTest() {
    machine.plug("a");
    EXPECT_TRUE(bus.open("IOUSBDevice"));
    find(*bus.watchAttach(&find));
    find(*bus.watchDetach(&find));
    bus.watchMedia([this] { ++notified; });
  }

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
  int notified = 0;
};

TEST_F(UdevMediaTest, AnotherMediumIsReportedAndIsThePlayersOnceItIsTaken) {
  EXPECT_EQ(bus.takeMedium(identity), std::nullopt);
  changeMedium(0);
  EXPECT_EQ(notified, 1);
  EXPECT_EQ(known.sequenceOf(identity), 101U);
  EXPECT_EQ(bus.takeMedium(identity), 0);
  EXPECT_EQ(known.sequenceOf(identity), 102U);
  EXPECT_EQ(bus.takeMedium(identity), std::nullopt);
  changeMedium(32);
  EXPECT_EQ(notified, 2);
  EXPECT_EQ(bus.takeMedium(identity), 32 * 1024 * 1024);
  // No notification is needed.
  bus.watchMedia({});
  changeMedium(64);
  EXPECT_EQ(bus.takeMedium(identity), 64 * 1024 * 1024);
}

TEST_F(UdevMediaTest, OtherChangesAreNotReported) {
  const auto& player = machine.player("a");
  machine.tell(player.diskPath, "change");
  machine.tell(player.usbPath, "change");
  const auto inner = machine.addDisk(machine.addUnit("", 25, 0), "sdz", 400);
  machine.tell(inner, "add");
  machine.tell(inner, "change");
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

TEST_F(UdevMediaTest, AMediumMayHaveChangedAmongEventsThatWereLost) {
  mockCalls().looks = {{ENOBUFS, true}};
  changeMedium(32);
  EXPECT_EQ(notified, 1);
}

}  // namespace fillstation::test
