#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BackEnd.h"
#include "FakeUDisks.h"
#include "KnownDisks.h"
#include "LinuxDisk.h"
#include "MainLoop.h"
#include "MockMachine.h"
#include "PosixFileManager.h"
#include "QtMainThread.h"
#include "StopSource.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"
#include "UDisksSession.h"
#include "UdevUsbBus.h"

namespace fillstation::test {

// The whole back end over a fake machine and a fake UDisks2, which does to the machine what the
// real one would. Media have no content, and no command runs. Main thread.
class LinuxRig : public contract::BackEnd {
 public:
  LinuxRig() {
    udisks.handler = [this](const UDisksCall& call) { return obey(call); };
    machine.isTaken = [this](const std::string& name) { return known.remembers(name); };
  }
  ~LinuxRig() override {
    stop.request();
    workers.joinAll();
  }

  // The fake's behaviour unless a test changes it.
  UDisksAnswer obey(const UDisksCall& call) {
    const std::string object = call.object();
    if (call.member == "Filesystem.Mount") {
      return obeyMount(object);
    }
    if (call.member == "Filesystem.Unmount") {
      return obeyUnmount(object);
    }
    if (call.member == "Drive.Eject") {
      machine.changeMedium(machine.player(object), 0);
    } else if (call.member == "Drive.PowerOff") {
      machine.pull(object);
    }
    return {};
  }

  // Plugs a player in and searches its disk as the watcher does, until the bus has reported it.
  DiskIdentity plugIn(const std::string& name) {
    const MockPlayer& player = attach(name);
    known.found(player.number, readDisk(player.diskName).value());
    return {"/dev/" + player.diskName, 0x10000U + player.number};
  }

  UsbBus& usbBus() override { return bus; }
  std::shared_ptr<DiskSession> createDiskSession() override { return session; }
  ScriptRunner& scriptRunner() override { return scripts_; }
  FileManager& fileManager() override { return files; }
  std::string userName() override { return {}; }
  std::string password() override { return {}; }
  void make(const std::string& name, const contract::PlayerWish& wish) override {
    MockPlayer& player = machine.player(name);
    static_cast<contract::PlayerWish&>(player) = wish;
    auto& fileSystem = made_[name];
    if (!wish.blank) {
      fileSystem = MockFileSystem();
      fileSystem->label = wish.label ? std::optional(encodedByUdev(*wish.label)) : std::nullopt;
    }
  }
  void plug(const std::string& name) override {
    machine.player(name).fileSystem = made_[name];
    const MockPlayer& player = attach(name);
    if (player.disk && player.fileSystem) {
      machine.mount(player.minor, player.fileSystem->label.value_or("1111-AAAA"));
    }
  }
  void unplug(const std::string& name) override {
    machine.pull(name);
    std::erase_if(udisks.blocks, [&](const auto& block) { return block.drive == name; });
  }
  bool await(const std::function<bool()>& condition) override { return runLoopAMinute(condition); }
  void settle() override { runLoopDry(); }

  MockMachine machine;
  PrivateBus dbus;
  FakeUDisks udisks{dbus.connect("fake")};
  StopSource stop;
  QtMainThread mainThread{stop, std::chrono::milliseconds(0)};
  TestLog log;
  ThreadWorkers workers{stop};
  KnownDisks known;
  SystemBus systemBus{[this](const QString& name) { return dbus.connect(name); }, mainThread,
                      workers};
  UDisksClient client{systemBus, log};
  DiskServices services{mainThread, workers, log,
                        known,      client,  {std::chrono::milliseconds(1), 120}};
  const std::shared_ptr<UDisksSession> session = std::make_shared<UDisksSession>(services);
  UdevUsbBus bus{known, stop};
  LinuxVolumeOwner owner{known, *session, stop, {}};
  PosixFileManager files{owner, stop};

 private:
  MockPlayer& attach(const std::string& name) {
    MockPlayer& player = machine.plug(name);
    udisks.drives[name] = {true, false};
    if (player.disk) {
      udisks.blocks.push_back({player.diskName, name});
    }
    return player;
  }
  UDisksAnswer obeyMount(const std::string& blockName) {
    MockPlayer* const player = machine.byBlock(blockName);
    if (player == nullptr || !player->fileSystem) {
      return UDisksAnswer::error("org.freedesktop.DBus.Error.UnknownMethod");
    }
    if (machine.isMounted(player->minor)) {
      return UDisksAnswer::error("org.freedesktop.UDisks2.Error.AlreadyMounted");
    }
    const auto& fileSystem = *player->fileSystem;
    const std::string path =
        machine.mount(player->minor, fileSystem.label.value_or(fileSystem.identifier));
    return {"", "", {QString::fromStdString(path)}, false};
  }
  UDisksAnswer obeyUnmount(const std::string& blockName) {
    MockPlayer* const player = machine.byBlock(blockName);
    if (player == nullptr || !machine.isMounted(player->minor)) {
      return UDisksAnswer::error("org.freedesktop.UDisks2.Error.NotMounted");
    }
    machine.unmount(player->minor);
    return {};
  }

  // udev's form of a label's bytes that are not text.
  static std::string encodedByUdev(const std::string& label) {
    std::string text;
    for (const char byte : label) {
      std::array<char, 5> escape{};
      std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned char>(byte));
      text += static_cast<unsigned char>(byte) < 0x80 ? std::string(1, byte) : escape.data();
    }
    return text;
  }

  TestScriptRunner scripts_;
  std::map<std::string, std::optional<MockFileSystem>> made_;
};

// Requests to a disk session over the fake UDisks2.
class UDisksTest : public ::testing::Test, protected LinuxRig {
 protected:
  using Members = std::vector<std::string>;

  struct Outcome {
    bool completed = false;
    std::string refused;  // the dissenter's reason
  };

  static constexpr const char* kNotThere = "org.freedesktop.DBus.Error.UnknownMethod";
  static constexpr const char* kBusy = "org.freedesktop.UDisks2.Error.DeviceBusy";

  static UDisksAnswer error(const std::string& name) { return UDisksAnswer::error(name); }
  static UDisksAnswer silence() { return {"", "", {}, true}; }

  // Sends a request; the outcome fills when it has completed.
  std::shared_ptr<Outcome> send(DiskRequest request, const DiskIdentity& identity) {
    auto outcome = std::make_shared<Outcome>();
    session->request(request, session->diskFromName(identity.node), identity,
                     [outcome](const auto&, const Dissenter* dissenter) {
                       outcome->completed = true;
                       outcome->refused = dissenter != nullptr ? dissenter->reason : "";
                     });
    return outcome;
  }
  // Sends it and waits; the reason of the refusal, empty when it was done.
  std::string ask(DiskRequest request, const DiskIdentity& identity) {
    const auto outcome = send(request, identity);
    runLoopUntil([&] { return outcome->completed; });
    return outcome->refused;
  }
  std::string mount(const DiskIdentity& identity) { return ask(DiskRequest::mount, identity); }
  std::string unmount(const DiskIdentity& identity) { return ask(DiskRequest::unmount, identity); }
  std::string eject(const DiskIdentity& identity) { return ask(DiskRequest::eject, identity); }
  // The answers to come, one by one, and then obedience.
  void answer(std::deque<UDisksAnswer> answers) {
    answers_ = std::move(answers);
    udisks.handler = [this](const UDisksCall& call) {
      if (answers_.empty()) {
        return obey(call);
      }
      const UDisksAnswer next = answers_.front();
      answers_.pop_front();
      return next;
    };
  }
  // Has the first call wait for an answer that doesn't come, and waits for that call.
  std::shared_ptr<Outcome> sendInVain(DiskRequest request, const DiskIdentity& identity) {
    answer({silence()});
    const auto outcome = send(request, identity);
    runLoopUntil([&] { return udisks.calls.size() == 1; });
    return outcome;
  }

  MockPlayer& player() { return machine.player("a"); }

 private:
  std::deque<UDisksAnswer> answers_;
};

}  // namespace fillstation::test
