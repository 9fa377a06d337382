#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "BackEnd.h"
#include "TempFolder.h"
#include "Url.h"

namespace fillstation::contract {

// The base of the suites: a back end whose bus is watched as the program watches it, and requests
// that are waited for.
class ContractTest : public ::testing::TestWithParam<BackEndKind> {
 protected:
  // A device reported by the bus.
  struct Told {
    bool arrived = false;
    std::uint32_t handle = 0;
    std::optional<std::string> diskName;
  };

  // How a request ended.
  struct Outcome {
    bool completed = false;
    std::shared_ptr<Disk> disk;
    std::optional<std::string> refused;
    std::thread::id thread;
  };

  void SetUp() override {
    backEnd = GetParam().create();
    if (backEnd == nullptr) {
      GTEST_SKIP() << GetParam().obstacle();
    }
    session = backEnd->createDiskSession();
  }

  // Opens the bus, and from now on handles its reports.
  void watchBus() {
    ASSERT_TRUE(backEnd->usbBus().open("IOUSBDevice"));
    walk(*backEnd->usbBus().watchAttach([this](UsbDeviceIterator& it) { walk(it, true); }), true);
    walk(*backEnd->usbBus().watchDetach([this](UsbDeviceIterator& it) { walk(it, false); }), false);
  }

  void walk(UsbDeviceIterator& iterator, bool arrived) {
    while (const auto device = iterator.next()) {
      told.push_back({arrived, device->handle(), device->searchDiskName()});
    }
  }

  // Makes a player and plugs it in. Waits until the bus has reported it; returns the identity of
  // its disk.
  DiskIdentity plugIn(const std::string& name, const PlayerWish& wish = {}) {
    backEnd->make(name, wish);
    return plugInAgain(name);
  }
  DiskIdentity plugInAgain(const std::string& name) {
    const std::size_t before = told.size();
    backEnd->plug(name);
    EXPECT_TRUE(backEnd->await([&] { return told.size() > before; }));
    return {"/dev/" + told.back().diskName.value_or(""), told.back().handle};
  }
  // The same, and waits until the system has mounted it.
  DiskIdentity plugInMounted(const std::string& name, const PlayerWish& wish = {}) {
    const DiskIdentity identity = plugIn(name, wish);
    EXPECT_TRUE(backEnd->await([&] { return mountPath(identity).has_value(); }));
    return identity;
  }

  // Unplugs a player and waits until the bus has reported it.
  void pullOut(const std::string& name) {
    const std::size_t before = told.size();
    backEnd->unplug(name);
    EXPECT_TRUE(backEnd->await([&] { return told.size() > before; }));
  }

  std::shared_ptr<Disk> diskOf(const DiskIdentity& identity) {
    return session->diskFromName(identity.node);
  }

  DiskDescription description(const DiskIdentity& identity) {
    const auto disk = diskOf(identity);
    const auto read = disk ? disk->copyDescription() : std::nullopt;
    return read.value_or(DiskDescription{});
  }

  // Empty, and -1, when there is none.
  std::string vendor(const DiskIdentity& identity) {
    return description(identity).deviceVendor.value_or("");
  }
  std::int64_t mediaSize(const DiskIdentity& identity) {
    return description(identity).mediaSize.value_or(-1);
  }

  std::optional<std::string> volumeName(const DiskIdentity& identity) {
    return description(identity).volumeName;
  }

  // The path of the mount point, from the address in the description.
  std::optional<std::string> mountPath(const DiskIdentity& identity) {
    const auto address = description(identity).volumePath;
    EXPECT_TRUE(!address || address->ends_with('/'));
    return address ? std::optional(Url::withString(*address).path()) : std::nullopt;
  }

  // A completion that notes how the request ended.
  static DiskSession::Completion noting(Outcome& outcome) {
    return [&outcome](const std::shared_ptr<Disk>& disk, const Dissenter* refused) {
      outcome.completed = true;
      outcome.disk = disk;
      outcome.thread = std::this_thread::get_id();
      if (refused != nullptr) {
        outcome.refused = refused->reason;
      }
    };
  }

  // Requests and waits; true when it was not refused.
  bool succeeds(DiskRequest request, const DiskIdentity& identity) {
    Outcome outcome;
    session->request(request, diskOf(identity), identity, noting(outcome));
    EXPECT_TRUE(backEnd->await([&] { return outcome.completed; }));
    return !outcome.refused;
  }

  static std::string scriptFor(const std::string& command, const std::string& user,
                               const std::string& password) {
    return "do shell script \"" + command + "\" user name \"" + user + "\" password \"" + password +
           "\" with administrator privileges";
  }
  ScriptOutcome runAsAdministrator(const std::string& command, const DiskIdentity& target) {
    return backEnd->scriptRunner().run(scriptFor(command, backEnd->userName(), backEnd->password()),
                                       target);
  }
  static std::string wipeCommand(const std::string& node) {
    return "dd if=/dev/zero of=" + node + " bs=4k count=10";
  }
  static std::string formatCommand(const std::string& node) { return "mkfs.fat -F32 " + node; }

  std::unique_ptr<BackEnd> backEnd;
  std::shared_ptr<DiskSession> session;
  std::vector<Told> told;
};

// With the bus watched from the beginning.
class WatchedContract : public ContractTest {
 protected:
  void SetUp() override {
    ContractTest::SetUp();
    if (!IsSkipped()) {
      watchBus();
    }
  }
};

// With a player whose volume is being filled.
class VolumeTest : public ContractTest {
 protected:
  // Opens the volume of `identity`, which is mounted.
  void openVolume() {
    root = *mountPath(identity);
    volume = backEnd->fileManager().openVolume(root, identity);
    ASSERT_NE(volume, nullptr);
  }
  // Copies a file of that content onto it, from `source-1`, `source-2` and so on.
  bool copy(const std::string& content, const std::string& path) {
    const std::string source = sources.write("source-" + std::to_string(++sourceNumber), content);
    return volume->copyItem(source, root + "/" + path);
  }

  test::TempFolder sources;
  int sourceNumber = 0;
  DiskIdentity identity;
  std::string root;
  std::shared_ptr<Volume> volume;
};

}  // namespace fillstation::contract
