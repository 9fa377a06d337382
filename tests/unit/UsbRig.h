#pragma once

#include <optional>
#include <string>
#include <vector>

#include "StdCapture.h"
#include "TestPlatform.h"
#include "TestUsbBus.h"
#include "UsbUtil.h"

namespace fillstation::test {

// What is printed of a device, and of one that is a player.
inline const std::string kClassLine = "This device's className is IOUSBDevice\n";
inline const std::string kPlayerLines = kClassLine + "Device Name is HS USB FlashDisk\n";

inline std::string repeated(const std::string& text, int count) {
  std::string all;
  for (int time = 0; time < count; ++time) {
    all += text;
  }
  return all;
}

// A record as its receiver would keep it: every text copied.
struct KeptRecord {
  std::optional<std::string> vid, pid, serialNumber, mountPath, volumeName, diskName;
  std::int32_t rev = 0;
  std::int32_t inserted = 0;
  std::uint32_t ioService = 0;
  std::int64_t size = 0;
};

// The platform with a bus, a disk "sdb" with a mounted volume, and a receiver that keeps what it is
// given.
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

  static std::optional<std::string> kept(const char* text) {
    return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
  }

  static void keep(void* receiver, UsbDeviceInfo* record) {
    auto& rig = *static_cast<UsbRig*>(receiver);
    rig.records.push_back({kept(record->vid), kept(record->pid), kept(record->serialNumber),
                           kept(record->mountPath), kept(record->volumeName),
                           kept(record->diskName), record->rev, record->inserted, record->ioService,
                           record->size});
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
  std::vector<KeptRecord> records;
};

}  // namespace fillstation::test
