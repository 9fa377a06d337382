#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "MockKernel.h"
#include "TempFolder.h"

namespace fillstation::test {

// A player of a MockMachine: what it is, and where it is while it is plugged in.
struct MockPlayer {
  std::optional<std::string> product = "HS USB FlashDisk";
  std::string manufacturer = "Maker";
  std::string serial = "0001";
  std::uint16_t release = 0x0100;
  std::string vendor = "ACTIONS ";
  std::int64_t sizeMiB = 64;
  std::optional<MockFileSystem> fileSystem = MockFileSystem();
  bool hasDisk = true;

  bool isPlugged = false;
  std::string port;
  std::uint32_t number = 0;  // on bus 1
  std::string usbPath;
  std::string diskName;
  std::string diskPath;
  int minor = 0;
};

// A machine with players, file systems that know only what they are called, and a mount table.
// Whatever changes is told by udev. Main thread.
class MockMachine {
 public:
  MockMachine();
  ~MockMachine();
  MockMachine(const MockMachine&) = delete;
  MockMachine& operator=(const MockMachine&) = delete;

  MockPlayer& plug(const std::string& name);
  void pull(const std::string& name);
  // Players are made by being named.
  MockPlayer& player(const std::string& name) { return players_[name]; }
  // The plugged player whose disk or partition that is; null for none.
  MockPlayer* byBlock(const std::string& blockName);

  void setFileSystem(MockPlayer& player, const std::optional<MockFileSystem>& fileSystem);
  // The disk gets another medium, without a file system; one of no size is none.
  void changeMedium(MockPlayer& player, std::int64_t sizeMiB);

  // Mounts a node (8:minor) at a new folder of that name and returns its path; takes its latest
  // mount away.
  std::string mount(int minor, const std::string& folderName);
  void unmount(int minor);
  bool isMounted(int minor) const;
  const std::string& mountTable() const { return table_; }

  // Whether a disk's name can't be given to another one yet.
  std::function<bool(const std::string&)> isTaken = [](const std::string&) { return false; };

  MockKernel kernel;
  TempFolder folder;

 private:
  struct Mount {
    int minor = 0;
    std::string path;
  };

  void addDisk(MockPlayer& player);
  void writeTable() const;

  std::map<std::string, MockPlayer> players_;
  std::vector<Mount> mounts_;
  std::string table_;
  std::uint32_t lastNumber_ = 1;
  std::uint64_t lastSequence_ = 100;
};

}  // namespace fillstation::test
