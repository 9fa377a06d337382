#pragma once

#include <QDBusConnection>
#include <memory>
#include <string>

#include "KnownDisks.h"
#include "LinuxDisk.h"
#include "LogindWakefulness.h"
#include "Platform.h"
#include "PolkitScriptRunner.h"
#include "PosixFileManager.h"
#include "QtMainThread.h"
#include "StopSource.h"
#include "SystemBus.h"
#include "UDisksClient.h"
#include "UDisksSession.h"
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
  std::string agent;                       // our own program, see agentOf()
  std::string udev = "/run/udev/control";  // there while udev runs
  std::string pkexec = "/usr/bin/pkexec";
  BusConnector connect = [](const QString& name) {
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
  };
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
  void logWhatIsMissing() const;

  const LinuxPlaces places_;
  SystemLog& log_;
  KnownDisks known_;
  SystemBus systemBus_;
  UDisksClient client_;
  DiskServices diskServices_;
  const std::shared_ptr<UDisksSession> session_ = std::make_shared<UDisksSession>(diskServices_);
  UdevUsbBus bus_;
  PolkitScriptRunner scriptRunner_;
  LinuxVolumeOwner owner_;
  PosixFileManager fileManager_;
  LogindWakefulness wakefulness_;
};

}  // namespace fillstation
