#pragma once

#include <map>
#include <string>

#include "BackEnd.h"
#include "LinuxSystem.h"
#include "TempFolder.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"

namespace fillstation::contract {

// The Linux back end over the machine that it runs on: its kernel, udev, UDisks2 and polkit.
// Players are USB gadgets with FAT on them, made and pulled by root's hand in the box of tests/vm.
// Main thread.
class MountedBackEnd : public BackEnd {
 public:
  MountedBackEnd();
  // Leaves no player behind.
  ~MountedBackEnd() override;

  UsbBus& usbBus() override { return *ports().usbBus; }
  std::shared_ptr<DiskSession> createDiskSession() override { return ports().createDiskSession(); }
  ScriptRunner& scriptRunner() override { return *ports().scriptRunner; }
  FileManager& fileManager() override { return *ports().fileManager; }
  std::string userName() override { return "admin"; }
  std::string password() override { return "open sesame"; }
  void make(const std::string& name, const PlayerWish& wish) override;
  // Returns when the player's volume is mounted, the way a desktop does it.
  void plug(const std::string& name) override;
  // Returns when the kernel knows the disk no more.
  void unplug(const std::string& name) override;
  std::vector<OnMedium> content(const std::string& name) override;
  bool isSound(const std::string& name) override;
  // The suite that runs here looks at files only.
  std::string head(const std::string& /*name*/, std::size_t /*bytes*/) override { return {}; }
  void writeHead(const std::string& /*name*/, const std::string& /*bytes*/) override {}
  std::int64_t mediumSize(const std::string& /*name*/) override { return 0; }
  bool await(const std::function<bool()>& condition) override;
  void settle() override;

 private:
  static Platform& ports() { return platform(); }

  std::map<std::string, std::string> disks_;  // "a" -> "sdb"
  test::TempFolder folder_;
  test::TestLog log_;
  StopSource stop_;
  QtMainThread mainThread_{stop_};
  ThreadWorkers workers_{stop_};
  LinuxSystem system_;
};

}  // namespace fillstation::contract
