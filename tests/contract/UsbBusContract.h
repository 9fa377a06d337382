#pragma once

#include <algorithm>
#include <array>
#include <set>

#include "ContractTest.h"

namespace fillstation::contract {

class UsbBusContract : public ContractTest {
 protected:
  UsbBus& bus() { return backEnd->usbBus(); }

  static std::vector<std::shared_ptr<UsbDevice>> all(UsbDeviceIterator& iterator) {
    std::vector<std::shared_ptr<UsbDevice>> devices;
    while (auto device = iterator.next()) {
      devices.push_back(std::move(device));
    }
    return devices;
  }

  // A player that is there when the bus is opened.
  std::shared_ptr<UsbDevice> onlyDevice(const PlayerWish& wish = {}) {
    backEnd->make("a", wish);
    backEnd->plug("a");
    EXPECT_TRUE(bus().open("IOUSBDevice"));
    const auto iterator = bus().watchAttach([](UsbDeviceIterator&) {});
    const auto devices = all(*iterator);
    EXPECT_EQ(devices.size(), 1U);
    return devices.front();
  }

  // Asks for a string descriptor the way the program does: up to 128 bytes.
  static std::optional<std::vector<std::uint8_t>> descriptor(UsbDeviceInterface& device,
                                                             std::uint8_t index) {
    std::array<std::uint8_t, 128> buffer{};
    const auto count = device.deviceRequest(
        {0x80, 6, static_cast<std::uint16_t>(0x300 | index), 1033, 128}, buffer);
    if (!count) {
      return std::nullopt;
    }
    return std::vector<std::uint8_t>(buffer.begin(), buffer.begin() + *count);
  }
};

TEST_P(UsbBusContract, OffersOnlyWholeDevicesAndNoneOnAnEmptyBus) {
  EXPECT_FALSE(bus().open("IOSomethingElse"));
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  EXPECT_EQ(bus().watchAttach([](UsbDeviceIterator&) {})->next(), nullptr);
  EXPECT_EQ(bus().watchDetach([](UsbDeviceIterator&) {})->next(), nullptr);
}

TEST_P(UsbBusContract, YieldsEachPresentDeviceOnce) {
  for (const std::string name : {"a", "b", "c"}) {
    backEnd->make(name, {});
    backEnd->plug(name);
  }
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  bool notified = false;
  const auto iterator = bus().watchAttach([&](UsbDeviceIterator&) { notified = true; });
  const auto devices = all(*iterator);
  ASSERT_EQ(devices.size(), 3U);
  EXPECT_NE(devices[0]->handle(), devices[1]->handle());
  EXPECT_NE(devices[1]->handle(), devices[2]->handle());
  EXPECT_NE(devices[0]->handle(), devices[2]->handle());
  EXPECT_NE(devices[0]->searchDiskName(), devices[1]->searchDiskName());
  EXPECT_EQ(iterator->next(), nullptr);
  backEnd->settle();
  EXPECT_FALSE(notified);
}

TEST_P(UsbBusContract, ADeviceHasItsIdentity) {
  const auto device = onlyDevice();
  EXPECT_TRUE(device->conformsTo("IOUSBDevice"));
  EXPECT_FALSE(device->conformsTo("IOUSBInterface"));
  EXPECT_EQ(device->className(), "IOUSBDevice");
  EXPECT_EQ(device->registryName(), "HS USB FlashDisk");
  EXPECT_GE(device->handle() >> 16, 1U);
  EXPECT_GE(device->handle() & 0xFFFF, 1U);
  EXPECT_LE(device->handle() & 0xFFFF, 127U);
  ASSERT_TRUE(device->searchDiskName());
  EXPECT_NE(session->diskFromName(*device->searchDiskName()), nullptr);
}

TEST_P(UsbBusContract, ADeviceWithoutAProductNameIsCalledByItsClass) {
  PlayerWish wish;
  wish.product = std::nullopt;
  backEnd->make("a", wish);
  wish.product = "";
  backEnd->make("b", wish);
  wish.product = "Card Reader";
  backEnd->make("c", wish);
  for (const std::string name : {"a", "b", "c"}) {
    backEnd->plug(name);
  }
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  std::multiset<std::string> names;
  for (const auto& device : all(*bus().watchAttach([](UsbDeviceIterator&) {}))) {
    names.insert(device->registryName());
    const bool isNamed = device->registryName() != "IOUSBDevice";
    EXPECT_EQ(device->openInterface()->productStringIndex() != 0, isNamed);
  }
  EXPECT_EQ(names, (std::multiset<std::string>{"Card Reader", "IOUSBDevice", "IOUSBDevice"}));
}

TEST_P(UsbBusContract, ADeviceWithoutADiskHasNoDiskName) {
  PlayerWish wish;
  wish.disk = false;
  const auto device = onlyDevice(wish);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  EXPECT_EQ(device->searchDiskName(), std::nullopt);
  EXPECT_EQ(session->diskFromName(""), nullptr);
  EXPECT_EQ(session->diskFromName("/dev/"), nullptr);
}

TEST_P(UsbBusContract, ADeviceAnswersWithItsDescriptors) {
  PlayerWish wish;
  wish.manufacturer = "Mä";
  wish.serial = std::string(200, 's');
  wish.release = 0x0219;
  const auto device = onlyDevice(wish);
  const auto interface = device->openInterface();
  ASSERT_NE(interface, nullptr);
  EXPECT_EQ(interface->releaseNumber(), 0x0219);
  EXPECT_EQ(descriptor(*interface, interface->manufacturerStringIndex()),
            std::vector<std::uint8_t>({6, 3, 'M', 0, 0xE4, 0}));
  EXPECT_EQ(descriptor(*interface, interface->productStringIndex())->size(), 34U);
  const auto serial = descriptor(*interface, interface->serialNumberStringIndex());
  ASSERT_TRUE(serial);
  EXPECT_EQ(serial->size(), 128U);
  EXPECT_EQ(serial->at(1), 3);
  EXPECT_EQ(serial->at(126), 's');
}

TEST_P(UsbBusContract, ReportsADepartureWithTheNameThatWasFound) {
  watchBus();
  const DiskIdentity identity = plugIn("a");
  pullOut("a");
  backEnd->settle();
  ASSERT_EQ(told.size(), 2U);
  EXPECT_FALSE(told[1].arrived);
  EXPECT_EQ(told[1].handle, identity.usbHandle);
  EXPECT_EQ("/dev/" + told[1].diskName.value_or(""), identity.node);
}

TEST_P(UsbBusContract, ReportsOneByOneInTheOrderOfTheEvents) {
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  std::vector<std::size_t> perNotification;
  const auto note = [&](UsbDeviceIterator& iterator) {
    perNotification.push_back(all(iterator).size());
  };
  all(*bus().watchAttach(note));
  all(*bus().watchDetach(note));
  for (const std::string name : {"a", "b", "c"}) {
    backEnd->make(name, {});
    backEnd->plug(name);
  }
  ASSERT_TRUE(backEnd->await([&] { return perNotification.size() == 3; }));
  backEnd->unplug("b");
  ASSERT_TRUE(backEnd->await([&] { return perNotification.size() == 4; }));
  EXPECT_EQ(perNotification, std::vector<std::size_t>(4, 1));
}

TEST_P(UsbBusContract, NothingIsReportedBeforeTheFirstWalkHasEnded) {
  backEnd->make("a", {});
  backEnd->make("b", {});
  backEnd->plug("a");
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  int notified = 0;
  const auto iterator = bus().watchAttach([&](UsbDeviceIterator& later) {
    ++notified;
    all(later);
  });
  EXPECT_NE(iterator->next(), nullptr);
  backEnd->plug("b");
  backEnd->settle();
  EXPECT_EQ(notified, 0);
  EXPECT_EQ(iterator->next(), nullptr);
  EXPECT_TRUE(backEnd->await([&] { return notified == 1; }));
}

TEST_P(UsbBusContract, NothingIsReportedBeforeANotificationsWalkHasEnded) {
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  int notified = 0;
  const auto iterator = bus().watchAttach([&](UsbDeviceIterator&) { ++notified; });
  all(*iterator);
  all(*bus().watchDetach([](UsbDeviceIterator&) {}));
  backEnd->make("a", {});
  backEnd->make("b", {});
  backEnd->plug("a");
  ASSERT_TRUE(backEnd->await([&] { return notified == 1; }));
  backEnd->plug("b");
  backEnd->settle();
  EXPECT_EQ(notified, 1);
  EXPECT_EQ(all(*iterator).size(), 1U);
  EXPECT_TRUE(backEnd->await([&] { return notified == 2; }));
  EXPECT_EQ(all(*iterator).size(), 1U);
}

TEST_P(UsbBusContract, NothingIsReportedWhileHeldAndHoldsNest) {
  watchBus();
  bus().hold();
  bus().hold();
  backEnd->make("a", {});
  backEnd->plug("a");
  backEnd->settle();
  bus().resume();
  backEnd->settle();
  EXPECT_TRUE(told.empty());
  bus().resume();
  EXPECT_TRUE(told.empty());
  EXPECT_TRUE(backEnd->await([&] { return told.size() == 1; }));
}

TEST_P(UsbBusContract, NothingIsReportedDuringAnotherReportNotEvenInAPause) {
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  backEnd->make("a", {});
  backEnd->make("b", {});
  int depth = 0;
  int deepest = 0;
  int notified = 0;
  const auto handle = [&](UsbDeviceIterator& iterator) {
    deepest = std::max(deepest, ++depth);
    all(iterator);
    if (++notified == 1) {
      backEnd->plug("b");
      backEnd->unplug("a");
      backEnd->settle();
    }
    --depth;
  };
  all(*bus().watchAttach(handle));
  all(*bus().watchDetach(handle));
  backEnd->plug("a");
  EXPECT_TRUE(backEnd->await([&] { return notified == 3; }));
  EXPECT_EQ(deepest, 1);
}

TEST_P(UsbBusContract, ADepartureBeforeTheWatchIsReportedByIt) {
  backEnd->make("a", {});
  backEnd->plug("a");
  ASSERT_TRUE(bus().open("IOUSBDevice"));
  const auto devices = all(*bus().watchAttach([](UsbDeviceIterator&) {}));
  ASSERT_EQ(devices.size(), 1U);
  const auto found = devices[0]->searchDiskName();
  backEnd->unplug("a");
  backEnd->settle();
  bool notified = false;
  const auto leaving = bus().watchDetach([&](UsbDeviceIterator& iterator) {
    notified = true;
    walk(iterator, false);
  });
  walk(*leaving, false);
  EXPECT_TRUE(backEnd->await([&] { return told.size() == 1; }));
  EXPECT_EQ(told[0].diskName, found);
  backEnd->settle();
  EXPECT_EQ(told.size(), 1U);
  EXPECT_FALSE(notified);
}

TEST_P(UsbBusContract, AMediumThatIsThePlayersAlreadyIsNotTaken) {
  watchBus();
  const DiskIdentity identity = plugIn("a");
  EXPECT_EQ(bus().takeMedium(identity), std::nullopt);
  EXPECT_EQ(bus().takeMedium({"/dev/other", identity.usbHandle}), std::nullopt);
}

TEST_P(UsbBusContract, ADeviceThatLeftBeforeItWasSearchedHasNoDiskName) {
  watchBus();
  backEnd->make("a", {});
  bus().hold();
  backEnd->plug("a");
  backEnd->settle();
  backEnd->unplug("a");
  backEnd->settle();
  bus().resume();
  ASSERT_TRUE(backEnd->await([&] { return told.size() == 2; }));
  EXPECT_TRUE(told[0].arrived);
  EXPECT_EQ(told[0].diskName, std::nullopt);
  EXPECT_FALSE(told[1].arrived);
  EXPECT_EQ(told[1].diskName, std::nullopt);
}

TEST_P(UsbBusContract, ADeviceThatHasLeftCannotBeAsked) {
  const auto device = onlyDevice();
  backEnd->unplug("a");
  EXPECT_EQ(device->openInterface(), nullptr);
}

}  // namespace fillstation::contract
