#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct _UMockdevTestbed;

namespace fillstation::test {

// A file system as udev describes it; nothing else of it exists.
struct MockFileSystem {
  std::string type = "vfat";
  std::string identifier = "1111-AAAA";
  std::optional<std::string> label;  // in udev's encoded form
};

// The devices of a machine without hardware: a sysfs and a udev of the test's own, from which
// libudev reads and receives as if they were real. One at a time; main thread.
class MockKernel {
 public:
  using Properties = std::map<std::string, std::string>;

  MockKernel();
  ~MockKernel();
  MockKernel(const MockKernel&) = delete;
  MockKernel& operator=(const MockKernel&) = delete;

  // Adds a whole USB device, of no class of its own unless the attributes say one; its path in
  // sysfs. The parent is another one's path or empty. Its event follows, as for every other device.
  std::string addUsb(const std::string& portName, std::uint32_t bus, std::uint32_t number,
                     const Properties& attributes, const std::string& parent = "");
  // Has udev tell of a device.
  void tell(const std::string& sysPath, const std::string& action);
  // A USB device's place in udev's database.
  static std::string usbDatabaseId(std::uint32_t bus, std::uint32_t number);
  // Marks it as one that udev has looked at, with what it has found.
  void setUdevDatabase(const std::string& id, const Properties& found);
  void removeUdevDatabase(const std::string& id);
  // A SCSI unit below a USB device (or anything); its path in sysfs. Type 0 is a disk, 5 a CD-ROM.
  std::string addUnit(const std::string& usbPath, int host, int unit, const std::string& vendor,
                      const std::string& type = "0", const std::string& inquiry = "");
  // The disk of a unit; its path in sysfs. Node number 8:minor.
  std::string addDisk(const std::string& unitPath, const std::string& name, int minor,
                      std::uint64_t sectors, std::uint64_t sequence);
  // Both.
  std::string addDisk(const std::string& usbPath, const std::string& name, int unit, int minor,
                      const std::string& vendor, std::uint64_t sectors, std::uint64_t sequence);
  std::string addPartition(const std::string& diskPath, const std::string& name, int number,
                           int minor);
  // Its node in /dev, which can be opened and holds nothing.
  void addNode(const std::string& name);
  // A device of any kind.
  std::string add(const std::string& subsystem, const std::string& name, const std::string& parent,
                  const Properties& attributes, const Properties& properties);
  void setAttribute(const std::string& sysPath, const std::string& name, const std::string& value);
  // Takes the device and all below it out of sysfs, without an event.
  void remove(const std::string& sysPath);

 private:
  _UMockdevTestbed* testbed_;
  std::string root_;
  std::string sys_;
  std::vector<std::string> paths_;
};

// What udev writes into its database for a file system; nothing for none.
MockKernel::Properties databaseOf(const std::optional<MockFileSystem>& fileSystem);

}  // namespace fillstation::test
