#pragma once

#include <memory>
#include <string>

#include "DiskOrder.h"
#include "DiskServices.h"
#include "KnownDisks.h"
#include "LinuxVolumeOwner.h"
#include "MockMachine.h"
#include "MountTable.h"
#include "PosixFileManager.h"
#include "PrivateBus.h"
#include "QtMainThread.h"
#include "StandInUDisks.h"
#include "StopSource.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"
#include "UDisksSession.h"
#include "UdevUsbBus.h"

namespace fillstation::test {

// The whole back end over a machine and a UDisks2 that aren't real: the stand-in does to the
// machine what UDisks2 would. Main thread.
class LinuxRig {
 public:
  LinuxRig();
  ~LinuxRig();

  std::shared_ptr<DiskSession> createSession() {
    return std::make_shared<UDisksSession>(services, order);
  }
  // What the stand-in does when no test has another wish.
  UDisksAnswer obey(const UDisksCall& call);

  // Plugs a player in and searches its disk as the watcher does, until the bus has told of it.
  DiskIdentity plugIn(const std::string& name);
  DiskIdentity identityOf(const std::string& name);

  MockMachine machine;
  PrivateBus bus;
  StandInUDisks udisks{bus.connect("stand-in")};
  StopSource stop;
  QtMainThread mainThread{stop, std::chrono::milliseconds(0)};
  TestLog log;
  ThreadWorkers workers{stop};
  KnownDisks known;
  MountTable mounts{machine.mountTable()};
  SystemBus systemBus{[this](const QString& name) { return bus.connect(name); }, mainThread,
                      workers};
  UDisksClient client{systemBus, log};
  std::vector<std::string> stoppedUnits;  // "/dev/sdb 101"
  bool stopsUnits = false;
  DiskServices services{mainThread,
                        workers,
                        log,
                        known,
                        mounts,
                        client,
                        [this](const std::string& node, std::uint64_t sequence) {
                          stoppedUnits.push_back(node + " " + std::to_string(sequence));
                          return stopsUnits;
                        },
                        {std::chrono::milliseconds(1), 120}};
  DiskOrder order{mainThread};
  UdevUsbBus usbBus{known, stop};
  LinuxVolumeOwner owner{
      known, mounts, [this] { return std::make_shared<UDisksSession>(services, order); }, stop, {}};
  PosixFileManager files{owner, stop};

 private:
  UDisksAnswer mount(const std::string& blockName);
  UDisksAnswer unmount(const std::string& blockName);
};

}  // namespace fillstation::test
