#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BackEnd.h"
#include "KnownDisks.h"
#include "LinuxDisk.h"
#include "MockMachine.h"
#include "PosixFileManager.h"
#include "PrivateBus.h"
#include "QtMainThread.h"
#include "StopSource.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"
#include "UDisksSession.h"
#include "UdevUsbBus.h"

namespace fillstation::test {

// The whole back end over a machine and a UDisks2 that aren't real: the stand-in does to the
// machine what UDisks2 would. A medium has no content there, and nothing runs a command. Main
// thread.
class LinuxRig : public contract::BackEnd {
 public:
  LinuxRig();
  ~LinuxRig() override;

  // What the stand-in does when no test has another wish.
  UDisksAnswer obey(const UDisksCall& call);

  // Plugs a player in and searches its disk as the watcher does, until the bus has told of it.
  DiskIdentity plugIn(const std::string& name);

  UsbBus& usbBus() override { return bus; }
  std::shared_ptr<DiskSession> createDiskSession() override { return session; }
  ScriptRunner& scriptRunner() override { return scripts_; }
  FileManager& fileManager() override { return files; }
  std::string userName() override { return {}; }
  std::string password() override { return {}; }
  void make(const std::string& name, const contract::PlayerWish& wish) override;
  void plug(const std::string& name) override;
  void unplug(const std::string& name) override;
  std::vector<contract::OnMedium> content(const std::string& /*name*/) override { return {}; }
  bool isSound(const std::string& /*name*/) override { return true; }
  std::string head(const std::string& /*name*/, std::size_t /*bytes*/) override { return {}; }
  void writeHead(const std::string& /*name*/, const std::string& /*bytes*/) override {}
  std::int64_t mediumSize(const std::string& /*name*/) override { return 0; }
  bool await(const std::function<bool()>& condition) override;
  void settle() override;

  MockMachine machine;
  PrivateBus dbus;
  StandInUDisks udisks{dbus.connect("stand-in")};
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
  MockPlayer& attach(const std::string& name);
  UDisksAnswer obeyMount(const std::string& blockName);
  UDisksAnswer obeyUnmount(const std::string& blockName);

  TestScriptRunner scripts_;
  std::map<std::string, std::optional<MockFileSystem>> made_;
};

// Requests to a disk session over the stand-in of UDisks2.
class UDisksTest : public ::testing::Test, protected LinuxRig {
 protected:
  using Members = std::vector<std::string>;
  using Request = void (DiskSession::*)(std::shared_ptr<Disk>, const DiskIdentity&,
                                        DiskSession::Completion);

  struct Outcome {
    bool completed = false;
    std::string refused;  // the dissenter's reason
  };

  static constexpr const char* kNotThere = "org.freedesktop.DBus.Error.UnknownMethod";
  static constexpr const char* kBusy = "org.freedesktop.UDisks2.Error.DeviceBusy";

  static UDisksAnswer error(const std::string& name) { return {name, "So it is.", {}, false}; }
  static UDisksAnswer silence() { return {"", "", {}, true}; }

  // Sends a request; the outcome fills when it has completed.
  std::shared_ptr<Outcome> send(Request request, const DiskIdentity& identity);
  // Sends it and waits; the reason of the refusal, empty when it was done.
  std::string ask(Request request, const DiskIdentity& identity);
  // The answers to come, one by one, and then obedience.
  void answer(std::deque<UDisksAnswer> answers);
  // Has the first call wait for an answer that doesn't come, and waits for that call.
  std::shared_ptr<Outcome> sendInVain(Request request, const DiskIdentity& identity);

  MockPlayer& player() { return machine.player("a"); }

 private:
  std::deque<UDisksAnswer> answers_;
};

}  // namespace fillstation::test
