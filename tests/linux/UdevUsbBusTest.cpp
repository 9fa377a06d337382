#include "UdevUsbBus.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "MainLoop.h"
#include "MockMachine.h"

namespace fillstation::test {

class UdevUsbBusTest : public ::testing::Test {
 protected:
  using Devices = std::vector<std::shared_ptr<UsbDevice>>;

  static Devices all(UsbDeviceIterator& iterator) {
    Devices devices;
    while (auto device = iterator.next()) {
      devices.push_back(std::move(device));
    }
    return devices;
  }

  // Who is there when the bus is opened; from then on arrived and left fill up.
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

  MockMachine machine;
  KnownDisks known;
  StopSource stop;
  UdevUsbBus bus{known, stop};
  Devices arrived;
  Devices left;
};

TEST_F(UdevUsbBusTest, TheHandleIsMadeOfBusAndDeviceNumber) {
  machine.kernel.addUsb("3-1", 3, 127, {});
  EXPECT_EQ(onlyDevice()->handle(), 3U * 65536 + 127);
}

TEST_F(UdevUsbBusTest, ALaterAttachHasAGreaterNumber) {
  machine.plug("a");
  machine.plug("b");
  const auto present = watch();
  ASSERT_EQ(present.size(), 2U);
  const auto numberOf = [](const std::shared_ptr<UsbDevice>& device) {
    return dynamic_cast<const UdevUsbDevice&>(*device).attach();
  };
  EXPECT_LT(numberOf(present[0]), numberOf(present[1]));
}

TEST_F(UdevUsbBusTest, InterfacesAndOtherDevicesAreNone) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  const auto add = [&](const char* subsystem, const char* name, const char* type, int minor) {
    machine.kernel.setUdevDatabase("c189:" + std::to_string(minor), {});
    return machine.kernel.add(subsystem, name, usb, {},
                              {{"DEVTYPE", type},
                               {"BUSNUM", "001"},
                               {"DEVNUM", std::to_string(minor)},
                               {"MAJOR", "189"},
                               {"MINOR", std::to_string(minor)}});
  };
  add("usb", "1-2:1.0", "usb_interface", 70);
  add("net", "eth0", "usb_device", 71);
  EXPECT_EQ(onlyDevice()->handle(), 0x10002U);
  machine.kernel.tell(add("usb", "1-2:1.1", "usb_interface", 72), "add");
  machine.kernel.tell(add("net", "eth1", "usb_device", 73), "add");
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

TEST_F(UdevUsbBusTest, ADeviceThatUdevHasNotLookedAtComesWhenItHas) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  machine.kernel.removeUdevDatabase(MockKernel::usbDatabaseId(1, 2));
  EXPECT_TRUE(watch().empty());
  machine.kernel.setUdevDatabase(MockKernel::usbDatabaseId(1, 2), {});
  machine.kernel.tell(usb, "add");
  runLoopDry();
  ASSERT_EQ(arrived.size(), 1U);
  EXPECT_EQ(arrived[0]->handle(), 0x10002U);
}

TEST_F(UdevUsbBusTest, ADeviceThatIsToldAgainIsTheSame) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  EXPECT_EQ(watch().size(), 1U);
  machine.kernel.tell(usb, "add");
  machine.kernel.tell(usb, "change");
  machine.kernel.tell(usb, "bind");
  runLoopDry();
  EXPECT_TRUE(arrived.empty());
  EXPECT_TRUE(left.empty());
}

TEST_F(UdevUsbBusTest, ALeavingOfNobodyIsNone) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  EXPECT_EQ(watch().size(), 1U);
  machine.kernel.tell(usb, "remove");
  machine.kernel.tell(usb, "remove");
  runLoopDry();
  EXPECT_EQ(left.size(), 1U);
}

TEST_F(UdevUsbBusTest, ADeviceWithoutNumbersIsNone) {
  const auto path = machine.kernel.add("usb", "1-7", "", {}, {{"DEVTYPE", "usb_device"}});
  EXPECT_TRUE(watch().empty());
  machine.kernel.tell(path, "add");
  runLoopDry();
  EXPECT_TRUE(arrived.empty());
}

TEST_F(UdevUsbBusTest, ADeviceThatHasGoneBeforeItWasReadIsNone) {
  EXPECT_TRUE(watch().empty());
  machine.plug("a");
  machine.pull("a");
  runLoopDry();
  EXPECT_TRUE(arrived.empty());
  EXPECT_TRUE(left.empty());
}

TEST_F(UdevUsbBusTest, AHubIsOfAnotherClass) {
  machine.kernel.addUsb("1-2", 1, 2, {{"bDeviceClass", "09\n"}});
  const auto hub = onlyDevice();
  EXPECT_EQ(hub->className(), "IOUSBHubDevice");
  EXPECT_EQ(hub->registryName(), "IOUSBDevice");
  EXPECT_TRUE(hub->conformsTo("IOUSBDevice"));
}

TEST_F(UdevUsbBusTest, AnEmptyProductNameIsNone) {
  machine.kernel.addUsb("1-2", 1, 2, {{"product", "\n"}});
  EXPECT_EQ(onlyDevice()->registryName(), "IOUSBDevice");
}

TEST_F(UdevUsbBusTest, ANameKeepsItsBlanks) {
  machine.kernel.addUsb("1-2", 1, 2, {{"product", " HS USB FlashDisk \n"}});
  EXPECT_EQ(onlyDevice()->registryName(), " HS USB FlashDisk ");
}

TEST_F(UdevUsbBusTest, TheNameIsKnownWhenTheDeviceHasGone) {
  machine.plug("a");
  watch();
  machine.pull("a");
  runLoopDry();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0]->registryName(), "HS USB FlashDisk");
  EXPECT_EQ(left[0]->className(), "IOUSBDevice");
}

TEST_F(UdevUsbBusTest, ThePortOfAPresentDeviceHasAName) {
  machine.kernel.addUsb("1-2.4", 1, 9, {});
  machine.kernel.addUsb("1-2.5", 1, 10, {});
  watch();
  EXPECT_EQ(bus.portName(0x10009), "1-2.4");
  EXPECT_EQ(bus.portName(0x1000A), "1-2.5");
  EXPECT_EQ(bus.portName(0x1000B), "");
}

TEST_F(UdevUsbBusTest, ThePortIsForgottenWithTheDevice) {
  const auto& player = machine.plug("a");
  watch();
  EXPECT_EQ(bus.portName(0x10000 + player.number), player.port);
  machine.pull("a");
  runLoopDry();
  EXPECT_EQ(bus.portName(0x10000 + player.number), "");
}

TEST_F(UdevUsbBusTest, ADiskIsFoundOnceUdevHasLookedAtIt) {
  const auto& player = machine.plug("a");
  machine.kernel.removeUdevDatabase("b8:16");
  const auto device = onlyDevice();
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  EXPECT_FALSE(known.remembers("sdb"));
  machine.kernel.setUdevDatabase("b8:16", {});
  EXPECT_EQ(device->searchDiskName(), "sdb");
  EXPECT_EQ(known.sequenceOf({"/dev/sdb", 0x10000U + player.number}), 101U);
}

TEST_F(UdevUsbBusTest, AHubOwnsNoDiskOfTheDevicesBehindIt) {
  const auto hub = machine.kernel.addUsb("1-2", 1, 2, {{"bDeviceClass", "09\n"}});
  const auto usb = machine.kernel.addUsb("1-2.1", 1, 3, {}, hub);
  machine.kernel.addDisk(usb, "sdb", 0, 16, "ACTIONS", 100, 7);
  machine.kernel.setUdevDatabase("b8:16", {});
  const auto present = watch();
  ASSERT_EQ(present.size(), 2U);
  EXPECT_EQ(present[0]->handle(), 0x10002U);
  EXPECT_EQ(present[0]->searchDiskName(), std::nullopt);
  EXPECT_EQ(present[1]->searchDiskName(), "sdb");
}

TEST_F(UdevUsbBusTest, TheLowestUnitIsThePlayer) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  machine.kernel.addDisk(usb, "sdb", 10, 16, "ACTIONS", 100, 7);
  machine.kernel.addDisk(usb, "sdc", 9, 32, "ACTIONS", 100, 8);
  machine.kernel.addDisk(usb, "sdd", 11, 48, "ACTIONS", 100, 9);
  machine.kernel.setUdevDatabase("b8:16", {});
  machine.kernel.setUdevDatabase("b8:48", {});
  const auto device = onlyDevice();
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  machine.kernel.setUdevDatabase("b8:32", {});
  EXPECT_EQ(device->searchDiskName(), "sdc");
}

TEST_F(UdevUsbBusTest, TheLowestUnitIsWaitedForWhileAnotherHasItsDiskAlready) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  const auto unit = machine.kernel.addUnit(usb, 5, 0, "ACTIONS ");
  machine.kernel.addDisk(machine.kernel.addUnit(usb, 5, 1, "ACTIONS "), "sdb", 16, 100, 7);
  machine.kernel.setUdevDatabase("b8:16", {});
  const auto device = onlyDevice();
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  EXPECT_FALSE(known.remembers("sdb"));
  machine.kernel.addDisk(unit, "sdc", 32, 100, 8);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  machine.kernel.setUdevDatabase("b8:32", {});
  EXPECT_EQ(device->searchDiskName(), "sdc");
}

TEST_F(UdevUsbBusTest, AUnitThatIsNoDiskIsNotThePlayer) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  machine.kernel.addDisk(machine.kernel.addUnit(usb, 5, 0, "ACTIONS ", "5"), "sr0", 16, 100, 7);
  machine.kernel.addDisk(machine.kernel.addUnit(usb, 5, 1, "ACTIONS "), "sdb", 32, 100, 8);
  machine.kernel.setUdevDatabase("b8:16", {});
  machine.kernel.setUdevDatabase("b8:32", {});
  EXPECT_EQ(onlyDevice()->searchDiskName(), "sdb");
}

TEST_F(UdevUsbBusTest, AUnitThatNothingIsConnectedToIsNotWaitedFor) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {});
  machine.kernel.addUnit(usb, 5, 0, "ACTIONS ", "0", " not connected");
  machine.kernel.addDisk(machine.kernel.addUnit(usb, 5, 1, "ACTIONS ", "14"), "sdb", 32, 100, 8);
  machine.kernel.setUdevDatabase("b8:32", {});
  EXPECT_EQ(onlyDevice()->searchDiskName(), "sdb");
}

TEST_F(UdevUsbBusTest, APartitionIsNoDisk) {
  auto& player = machine.plug("a");
  machine.kernel.addPartition(player.diskPath, "sdb1", 1, 17);
  machine.kernel.setUdevDatabase("b8:17", {});
  EXPECT_EQ(onlyDevice()->searchDiskName(), "sdb");
}

TEST_F(UdevUsbBusTest, ADiskWithoutASequenceNumberCannotBeGuardedSoItIsNone) {
  const auto& player = machine.plug("a");
  machine.kernel.setAttribute(player.diskPath, "diskseq", "none\n");
  EXPECT_EQ(onlyDevice()->searchDiskName(), std::nullopt);
}

TEST_F(UdevUsbBusTest, AnotherDeviceOnThePortIsNotTakenForTheOneThatWas) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {{"product", "First\n"}});
  const auto device = onlyDevice();
  machine.kernel.remove(usb);
  const auto again = machine.kernel.addUsb("1-2", 1, 3, {{"product", "Second\n"}});
  machine.kernel.addDisk(again, "sdb", 0, 16, "ACTIONS", 100, 7);
  machine.kernel.setUdevDatabase("b8:16", {});
  EXPECT_EQ(device->openInterface(), nullptr);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
}

TEST_F(UdevUsbBusTest, ANameIsForgottenWhenItsLeavingHasBeenHandled) {
  machine.plug("a");
  onlyDevice()->searchDiskName();
  machine.pull("a");
  EXPECT_TRUE(known.remembers("sdb"));
  runLoopDry();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_FALSE(known.remembers("sdb"));
}

TEST_F(UdevUsbBusTest, StringsAreReadWhenTheDeviceIsAsked) {
  const auto usb = machine.kernel.addUsb("1-2", 1, 2, {{"bcdDevice", "0a10\n"}});
  const auto device = onlyDevice();
  machine.kernel.setAttribute(usb, "product", "Later\n");
  machine.kernel.setAttribute(usb, "manufacturer", "M\n");
  machine.kernel.setAttribute(usb, "serial", "S\n");
  const auto interface = device->openInterface();
  ASSERT_NE(interface, nullptr);
  EXPECT_EQ(interface->releaseNumber(), 0x0A10);
  std::array<std::uint8_t, 4> buffer{};
  EXPECT_EQ(interface->deviceRequest({0x80, 6, 0x301, 0, 4}, buffer), 4U);
  EXPECT_EQ(buffer[2], 'M');
  EXPECT_EQ(interface->deviceRequest({0x80, 6, 0x302, 0, 4}, buffer), 4U);
  EXPECT_EQ(buffer[2], 'L');
  EXPECT_EQ(interface->deviceRequest({0x80, 6, 0x303, 0, 4}, buffer), 4U);
  EXPECT_EQ(buffer[2], 'S');
}

TEST_F(UdevUsbBusTest, ADeviceWithoutStringsHasNoDescriptors) {
  machine.kernel.addUsb("1-2", 1, 2, {});
  const auto interface = onlyDevice()->openInterface();
  ASSERT_NE(interface, nullptr);
  EXPECT_EQ(interface->manufacturerStringIndex(), 0);
  EXPECT_EQ(interface->productStringIndex(), 0);
  EXPECT_EQ(interface->serialNumberStringIndex(), 0);
  EXPECT_EQ(interface->releaseNumber(), 0);
}

TEST_F(UdevUsbBusTest, NothingIsToldOnceTheProgramIsEnding) {
  watch();
  stop.request();
  machine.plug("a");
  runLoopDry();
  EXPECT_TRUE(arrived.empty());
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

}  // namespace fillstation::test
