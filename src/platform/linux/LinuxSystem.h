#pragma once

#include <QDBusConnection>
#include <memory>
#include <optional>
#include <string>

#include "DiskOrder.h"
#include "DiskServices.h"
#include "KnownDisks.h"
#include "LinuxVolumeOwner.h"
#include "LogindWakefulness.h"
#include "MountTable.h"
#include "Platform.h"
#include "PolkitScriptRunner.h"
#include "PosixFileManager.h"
#include "QtMainThread.h"
#include "ScsiUnit.h"
#include "StopSource.h"
#include "SystemBus.h"
#include "SystemParts.h"
#include "UDisksClient.h"
#include "UdevUsbBus.h"

namespace fillstation {

// What the back end works with. All of it outlives it.
struct LinuxServices {
  const StopSource& stop;
  QtMainThread& mainThread;
  Workers& workers;
  SystemLog& log;
};

// Where it finds the system.
struct LinuxPlaces {
  SystemParts parts;
  BusConnector connect = [](const QString& name) {
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
  };
  std::string mountTable = "/proc/self/mountinfo";
};

// The back end for real players: udev, UDisks2 and polkit. Made on the main thread; lives as long
// as the program that uses it. A machine that lacks one of them gets a line in the log, and what
// needs that one fails when it is asked for.
class LinuxSystem {
 public:
  LinuxSystem(const LinuxServices& services, const LinuxPlaces& places);

  // Sets the ports usbBus, createDiskSession, scriptRunner, fileManager, wakefulness and systemLog,
  // and writes down what the machine lacks.
  void installInto(Platform& installed);

 private:
  std::optional<PlayerGuard> guardOf(const DiskIdentity& identity);

  const SystemParts parts_;
  SystemLog& log_;
  KnownDisks known_;
  MountTable mounts_;
  SystemBus systemBus_;
  UDisksClient client_;
  DiskServices diskServices_;
  DiskOrder order_;
  UdevUsbBus bus_;
  PolkitScriptRunner scriptRunner_;
  LinuxVolumeOwner owner_;
  PosixFileManager fileManager_;
  LogindWakefulness wakefulness_;
};

}  // namespace fillstation
