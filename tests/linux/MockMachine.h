#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "BackEnd.h"
#include "TempFolder.h"

struct _UMockdevTestbed;

namespace fillstation::test {

// The fake SCSI unit, which answers for every node while there is a MockMachine; no unit answers
// before sequenceResult is 0.
struct MockUnit {
  std::uint64_t sequence = 101;
  int sequenceResult = -1;
  int result = 0;
  unsigned char status = 0;
  unsigned short hostStatus = 0;
  std::vector<unsigned char> command;
  int direction = 0;
  char interfaceId = 0;
  unsigned int timeOut = 0;
  bool opensWithoutMedium = false;
  bool isInherited = true;
};

// The fake answers of the system's libraries: functions of the C library, libudev and libdbus that
// every program with this header replaces. One per process.
struct MockCalls {
  // One look of udev's monitor for an event: an error in place of one (0 for none), and whether all
  // that wait are lost.
  struct Look {
    int error = 0;
    bool isLoss = false;
  };

  // Where udev's database of the test is, "/" at the end; empty while there is none.
  std::string udevDatabase;
  // The file in place of the kernel's table of mounts; empty while there is none.
  std::string mountTable;
  // The results of the monitor's next receive calls; later calls give real ones.
  std::vector<Look> looks;
  // The requested sizes of the monitor's receive buffer.
  std::vector<int> bufferSizes;
  // The path in sysfs of a device that goes between being listed and being looked at.
  std::string vanishing;
  // Which folders of the test are mount points, of which device.
  std::map<std::string, dev_t> mounts;
  MockUnit unit;
};
MockCalls& mockCalls();

// The time-outs, in milliseconds, that calls have been given to libdbus with since the last look.
std::vector<int> takeDBusTimeOuts();

// Starts the program again with umockdev's library preloaded, which it needs; returns in the second
// process. First in main(), except for code that must run without the library.
void preloadMockUdev(char** argv);

// A file system as udev describes it; nothing else of it exists.
struct MockFileSystem {
  std::string type = "vfat";
  std::string identifier = "1111-AAAA";
  std::optional<std::string> label;  // in udev's encoded form
};

// A player of a MockMachine: its properties, and its place while it is plugged in.
struct MockPlayer : contract::PlayerWish {
  std::optional<MockFileSystem> fileSystem = MockFileSystem();
  bool isPlugged = false;
  std::string port;
  std::uint32_t number = 0;  // on bus 1; 2 for the first
  std::string usbPath;
  std::string diskName;
  std::string diskPath;
  int minor = 0;
};

// A machine without hardware: a sysfs and a udev of the test, which libudev reads as if they were
// real, with players, file systems that have only names, and a mount table. One at a time; main
// thread.
class MockMachine {
 public:
  using Properties = std::map<std::string, std::string>;

  MockMachine();
  ~MockMachine();
  MockMachine(const MockMachine&) = delete;
  MockMachine& operator=(const MockMachine&) = delete;

  // Plugs a player in or out, and udev reports it. The first disk is "sdb" (8:16) with the sequence
  // number 101.
  MockPlayer& plug(const std::string& name);
  void pull(const std::string& name);
  // Players are made by being named.
  MockPlayer& player(const std::string& name) { return players_[name]; }
  // The plugged player with this disk or partition; null for none.
  MockPlayer* byBlock(const std::string& blockName);

  void setFileSystem(MockPlayer& player, const std::optional<MockFileSystem>& fileSystem);
  // The disk gets another medium, without a file system; one of no size is none.
  void changeMedium(MockPlayer& player, std::int64_t sizeMiB);
  // Partition 1 is "sdb1" (8:17).
  void addPartition(const MockPlayer& player, int number,
                    const std::optional<MockFileSystem>& fileSystem = std::nullopt);

  // Mounts a node (8:minor) at a new folder of that name and returns its path; takes its latest
  // mount away.
  std::string mount(int minor, const std::string& folderName);
  void unmount(int minor);
  bool isMounted(int minor) const;

  // Single devices, which udev reports on request. Each function returns the path in sysfs. A whole
  // USB device, whose class is 0 unless the attributes have one. The parent is another device's
  // path or empty.
  std::string addUsb(const std::string& portName, std::uint32_t bus, std::uint32_t number,
                     const Properties& attributes = {}, const std::string& parent = "");
  // A SCSI unit below a USB device (or anything). Type 0 is a disk, 5 a CD-ROM.
  std::string addUnit(const std::string& usbPath, int host, int unit, const std::string& type = "0",
                      const std::string& inquiry = "", const std::string& vendor = "ACTIONS ");
  // The disk of a unit, with a new sequence number. Node number 8:minor.
  std::string addDisk(const std::string& unitPath, const std::string& name, int minor,
                      std::int64_t sizeMiB = 1);
  // A device of any kind.
  std::string add(const std::string& subsystem, const std::string& name, const std::string& parent,
                  const Properties& attributes, const Properties& properties);
  // A node in /dev, which can be opened and holds nothing.
  void addNode(const std::string& name) const;
  void setAttribute(const std::string& sysPath, const std::string& name, const std::string& value);
  // Has udev report a device.
  void tell(const std::string& sysPath, const std::string& action);
  // Takes the device and all below it out of sysfs, without an event.
  void remove(const std::string& sysPath);

  // Marks a device ("b8:16") as one that udev has looked at, with these results.
  void setUdevDatabase(const std::string& id, const Properties& found = {}) const;
  void removeUdevDatabase(const std::string& id) const;
  static std::string usbDatabaseId(std::uint32_t bus, std::uint32_t number);

  // Whether a disk's name can't be given to another one yet.
  std::function<bool(const std::string&)> isTaken = [](const std::string&) { return false; };

  TempFolder folder;

 private:
  struct Mount {
    int minor = 0;
    std::string path;
  };

  void giveDisk(MockPlayer& player);
  void writeTable() const;

  _UMockdevTestbed* testbed_;
  std::string root_;
  std::string sys_;
  std::vector<std::string> paths_;
  std::map<std::string, MockPlayer> players_;
  std::vector<Mount> mounts_;
  std::string table_;
  std::uint32_t lastNumber_ = 1;
  std::uint64_t lastSequence_ = 100;
};

// udev's database entries for a file system; none for no file system.
MockMachine::Properties databaseOf(const std::optional<MockFileSystem>& fileSystem);

}  // namespace fillstation::test
