#include "LinuxSystem.h"

#include "UDisksSession.h"

namespace fillstation {

LinuxSystem::LinuxSystem(const LinuxServices& services, const LinuxPlaces& places)
    : parts_(places.parts),
      log_(services.log),
      mounts_(places.mountTable),
      systemBus_(places.connect, services.mainThread, services.workers),
      client_(systemBus_, services.log),
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
          places.parts.agent, [this](const DiskIdentity& identity) { return guardOf(identity); },
          [this](const DiskIdentity& identity) { known_.spared(identity); }),
      owner_(known_, mounts_,
             [this] { return std::make_shared<UDisksSession>(diskServices_, order_); },
             services.stop, {}),
      fileManager_(owner_, services.stop,
                   [&mainThread = services.mainThread] { mainThread.keepWindowAlive(); }),
      wakefulness_(systemBus_, services.log) {}

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

std::optional<PlayerGuard> LinuxSystem::guardOf(const DiskIdentity& identity) {
  // From here on nothing that the system says of the old content may be taken for the new one.
  known_.willWipe(identity);
  const auto sequence = known_.sequenceOf(identity);
  if (!sequence) {
    return std::nullopt;
  }
  return PlayerGuard{identity.node, identity.usbHandle >> 16U, identity.usbHandle & 0xFFFFU,
                     *sequence};
}

}  // namespace fillstation
