#pragma once

#include <unistd.h>

#include <QDBusConnection>
#include <memory>
#include <string>

#include "Format.h"
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

// The services of the back end. All of them outlive it.
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
// as the program. If the computer lacks one of them, the log gets a line, and everything that needs
// it fails.
class LinuxSystem {
 public:
  LinuxSystem(const LinuxServices& services, const LinuxPlaces& places)
      : places_(places),
        log_(services.log),
        systemBus_(places.connect, services.mainThread, services.workers),
        client_(systemBus_, services.log),
        diskServices_{services.mainThread, services.workers, services.log, known_, client_, {}},
        bus_(known_, services.stop),
        scriptRunner_(
            places.agent,
            // From here on, the system's reports about the old content no longer count.
            [this](const DiskIdentity& player) { return known_.willWipe(player); },
            [this](const DiskIdentity& player) { known_.spared(player); }),
        owner_(known_, *session_, services.stop, {}),
        fileManager_(owner_, services.stop,
                     [&mainThread = services.mainThread] { mainThread.keepWindowAlive(); }),
        wakefulness_(systemBus_, services.log) {}

  // Sets the ports usbBus, createDiskSession, scriptRunner, fileManager, wakefulness and systemLog,
  // and logs what the computer lacks.
  void installInto(Platform& installed) {
    installed.usbBus = &bus_;
    installed.createDiskSession = [session = session_] { return session; };
    installed.scriptRunner = &scriptRunner_;
    installed.fileManager = &fileManager_;
    installed.systemLog = &log_;
    installed.wakefulness = &wakefulness_;
    logWhatIsMissing();
    // Before the first player arrives; the client logs a failure.
    client_.wake();
  }

 private:
  void logWhatIsMissing() const {
    if (::access(places_.udev.c_str(), F_OK) != 0) {
      log_.write("udev isn't running: no player will be seen.\n");
    }
    for (const auto& program : {places_.pkexec, places_.agent}) {
      if (::access(program.c_str(), X_OK) != 0) {
        log_.write(formatText("%@ is missing: no player can be formatted.\n", program));
      }
    }
  }

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
