#include "LinuxSystem.h"

#include "UDisksSession.h"

namespace fillstation {

LinuxSystem::LinuxSystem(const LinuxServices& services, const LinuxPlaces& places)
    : parts_(places.parts),
      log_(services.log),
      mounts_(places.mountTable),
      client_(places.connect, services.log),
      diskServices_{services.mainThread,
                    services.workers,
                    services.log,
                    known_,
                    mounts_,
                    client_,
                    &stopScsiUnit,
                    {}},
      order_(services.mainThread),
      bus_(known_, services.stop),
      scriptRunner_(
          places.parts.agent,
          [this](const DiskIdentity& player) {
            // From here on nothing that the system says of the old content may be taken for the new
            // one.
            known_.willWipe(player);
            return known_.sequenceOf(player);
          },
          [this](const DiskIdentity& player) { known_.spared(player); }),
      owner_(known_, mounts_,
             [this] { return std::make_shared<UDisksSession>(diskServices_, order_); },
             services.stop, {}),
      fileManager_(owner_, services.stop,
                   [&mainThread = services.mainThread] { mainThread.keepWindowAlive(); }),
      wakefulness_(places.connect, services.log) {}

void LinuxSystem::installInto(Platform& installed) {
  installed.usbBus = &bus_;
  installed.createDiskSession = [this] {
    return std::make_shared<UDisksSession>(diskServices_, order_);
  };
  installed.scriptRunner = &scriptRunner_;
  installed.fileManager = &fileManager_;
  installed.systemLog = &log_;
  installed.wakefulness = &wakefulness_;
  for (const auto& line : missingParts(parts_)) {
    log_.write(line);
  }
  // Wakes UDisks2 before the first player comes; the client writes it down if that fails.
  client_.getObjects([](const UDisksFailure* /*failure*/, const QVariantList& /*objects*/) {});
}

}  // namespace fillstation
