#pragma once

#include <string>
#include <vector>

#include "StdCapture.h"
#include "TestPlatform.h"
#include "TestUsbBus.h"
#include "UsbUtil.h"

namespace fillstation::test {

// The output for a device, and for one that is a player.
inline const std::string kClassLine = "This device's className is IOUSBDevice\n";
inline const std::string kPlayerLines = kClassLine + "Device Name is HS USB FlashDisk\n";
// The output when the volume is found.
inline const std::string kFound = "\n got vol name\n got vol path";

inline std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int time = 0; time < count; ++time) {
    all += text;
  }
  return all;
}

// The platform with a bus, a disk "sdb" with a mounted volume, and a receiver that stores every
// field of each record as one text.
struct UsbRig {
  UsbRig() {
    platform().usbBus = &bus;
    disk = addDisk("sdb", describedAs("SONGS", "file:///media/SONGS/", "ACTIONS", 4096));
  }

  std::shared_ptr<TestDisk> addDisk(const std::string& name, DiskDescription description) {
    auto added = std::make_shared<TestDisk>();
    added->describe = [description](std::size_t) { return description; };
    ports.disks.byName[name] = added;
    return added;
  }

  static void keep(void* receiver, UsbDeviceInfo* record) {
    const auto number = [](std::int64_t value) { return std::to_string(value); };
    static_cast<UsbRig*>(receiver)->records.push_back(formatText(
        "%s %s of %s: %s, %s, %s, %s; %s at %s, %s bytes", number(record->inserted),
        record->diskName, number(record->ioService), record->vid, record->pid, number(record->rev),
        record->serialNumber, record->volumeName, record->mountPath, number(record->size)));
  }

  // Takes back an earlier test's receiver. Not while a platform is installed.
  static void keepNothing() {
    const StdCapture quiet(stdout);
    TestPlatform apart;
    TestUsbBus empty(apart.mainThread);
    platform().usbBus = &empty;
    registerForUSBNotifications(nullptr, nullptr);
  }

  int registerReceiver() { return registerForUSBNotifications(this, &UsbRig::keep); }

  TestPlatform ports;
  TestUsbBus bus{ports.mainThread};
  std::shared_ptr<TestDisk> disk;
  std::vector<std::string> records;
};

// The record of a player that answers.
inline const std::string kAsked =
    "1 /dev/sdb of 65538: Maker, Stick, 256, N/A; SONGS at file:///media/SONGS/, 4096 bytes";

// A player that answers.
inline std::shared_ptr<TestUsbDevice> namedDevice() {
  auto device = std::make_shared<TestUsbDevice>();
  device->interface->descriptors[1] = TestUsbInterface::descriptorOf("Maker");
  device->interface->descriptors[2] = TestUsbInterface::descriptorOf("Stick");
  device->interface->descriptors[3] = TestUsbInterface::descriptorOf("0042");
  return device;
}

}  // namespace fillstation::test
