#include "LinuxSystem.h"

#include <unistd.h>

#include "Format.h"

namespace fillstation {

LinuxSystem::LinuxSystem(const LinuxServices& services, const LinuxPlaces& places)
    : places_(places),
      log_(services.log),
      systemBus_(places.connect, services.mainThread, services.workers),
      client_(systemBus_, services.log),
      diskServices_{services.mainThread, services.workers, services.log, known_, client_, {}},
      bus_(known_, services.stop),
      scriptRunner_(
          places.agent,
          // From here on nothing that the system says of the old content may be taken for the new.
          [this](const DiskIdentity& player) { return known_.willWipe(player); },
          [this](const DiskIdentity& player) { known_.spared(player); }),
      owner_(known_, *session_, services.stop, {}),
      fileManager_(owner_, services.stop,
                   [&mainThread = services.mainThread] { mainThread.keepWindowAlive(); }),
      wakefulness_(systemBus_, services.log) {}

void LinuxSystem::installInto(Platform& installed) {
  installed.usbBus = &bus_;
  installed.createDiskSession = [session = session_] { return session; };
  installed.scriptRunner = &scriptRunner_;
  installed.fileManager = &fileManager_;
  installed.systemLog = &log_;
  installed.wakefulness = &wakefulness_;
  logWhatIsMissing();
  // Before the first player comes; the client writes it down if that fails.
  client_.wake();
}

void LinuxSystem::logWhatIsMissing() const {
  if (::access(places_.udev.c_str(), F_OK) != 0) {
    log_.write("udev isn't running: no player will be seen.\n");
  }
  for (const auto& program : {places_.pkexec, places_.agent}) {
    if (::access(program.c_str(), X_OK) != 0) {
      log_.write(formatText("%@ is missing: no player can be formatted.\n", program));
    }
  }
}

}  // namespace fillstation
