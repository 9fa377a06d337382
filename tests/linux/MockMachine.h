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

// The SCSI unit that answers in place of all others while there is a MockMachine, whatever node is
// asked; nobody's until sequenceResult is 0.
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

// What the system's libraries answer in place of a machine: functions of the C library, libudev and
// libdbus that are replaced by ours in every program with this header. One per process.
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
  // What the monitor's next looks give; those after them give what there is.
  std::vector<Look> looks;
  // The sizes of the monitor's receive buffer that were asked for.
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

// Begins the program anew with umockdev's library before all others, which is how that one works;
// returns in the program that has it. First thing in main(), or whatever is to be done without it
// comes before.
void preloadMockUdev(char** argv);

// A file system as udev describes it; nothing else of it exists.
struct MockFileSystem {
  std::string type = "vfat";
  std::string identifier = "1111-AAAA";
  std::optional<std::string> label;  // in udev's encoded form
};

// A player of a MockMachine: what it is, and where it is while it is plugged in.
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

// A machine without hardware: a sysfs and a udev of the test's own, from which libudev reads and
// receives as if they were real, with players, file systems that know only what they are called,
// and a mount table. One at a time; main thread.
class MockMachine {
 public:
  using Properties = std::map<std::string, std::string>;

  MockMachine();
  ~MockMachine();
  MockMachine(const MockMachine&) = delete;
  MockMachine& operator=(const MockMachine&) = delete;

  // A player comes and goes, and udev tells of it. The first disk is "sdb" (8:16), of sequence
  // number 101.
  MockPlayer& plug(const std::string& name);
  void pull(const std::string& name);
  // Players are made by being named.
  MockPlayer& player(const std::string& name) { return players_[name]; }
  // The plugged player whose disk or partition that is; null for none.
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

  // Single devices, of which udev tells when it is asked to. Each returns its path in sysfs.
  //
  // A whole USB device, of no class of its own unless the attributes say one. The parent is another
  // one's path or empty.
  std::string addUsb(const std::string& portName, std::uint32_t bus, std::uint32_t number,
                     const Properties& attributes = {}, const std::string& parent = "");
  // A SCSI unit below a USB device (or anything). Type 0 is a disk, 5 a CD-ROM.
  std::string addUnit(const std::string& usbPath, int host, int unit, const std::string& type = "0",
                      const std::string& inquiry = "", const std::string& vendor = "ACTIONS ");
  // The disk of a unit, with a sequence number of its own. Node number 8:minor.
  std::string addDisk(const std::string& unitPath, const std::string& name, int minor,
                      std::int64_t sizeMiB = 1);
  // A device of any kind.
  std::string add(const std::string& subsystem, const std::string& name, const std::string& parent,
                  const Properties& attributes, const Properties& properties);
  // A node in /dev, which can be opened and holds nothing.
  void addNode(const std::string& name) const;
  void setAttribute(const std::string& sysPath, const std::string& name, const std::string& value);
  // Has udev tell of a device.
  void tell(const std::string& sysPath, const std::string& action);
  // Takes the device and all below it out of sysfs, without an event.
  void remove(const std::string& sysPath);

  // Marks a device ("b8:16") as one that udev has looked at, with what it has found.
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

// What udev writes into its database for a file system; nothing for none.
MockMachine::Properties databaseOf(const std::optional<MockFileSystem>& fileSystem);

}  // namespace fillstation::test
