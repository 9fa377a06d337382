#include "EjectRequest.h"

#include <algorithm>

#include "Format.h"
#include "UDisksNames.h"
#include "UnmountRequest.h"

namespace fillstation {

void EjectRequest::run() {
  const auto whenUnmounted = [self = self<EjectRequest>()](const auto& dissenter) {
    if (dissenter) {
      self->done_(dissenter);
    } else {
      self->unmounted();
    }
  };
  std::make_shared<UnmountRequest>(services_, disk_, expected_, whenUnmounted)->run();
}

void EjectRequest::unmounted() {
  services_.client.getObjects(
      [self = self<EjectRequest>()](const UDisksFailure* failure, const QVariantList& objects) {
        if (failure != nullptr) {
          self->fail(failure->text);
        } else {
          self->goOnWith(objects);
        }
      });
}

void EjectRequest::goOnWith(const QVariantList& objects) {
  const auto facts = expectedDisk();
  if (!facts) {
    return;
  }
  const auto drive = driveOf(disk_->name(), objects);
  if (!drive || !isAlone(*drive)) {
    stopUnit(*facts->sequence);
  } else if (drive->canPowerOff) {
    powerOff(*drive);
  } else {
    eject(*drive);
  }
}

bool EjectRequest::isAlone(const DriveFacts& drive) const {
  return std::all_of(drive.blockNames.begin(), drive.blockNames.end(), [this](const auto& name) {
    return usbHandleAbove(name) == expected_.usbHandle;
  });
}

void EjectRequest::powerOff(const DriveFacts& drive) {
  services_.client.call(
      drive.path, udisks::kDrive, udisks::kPowerOff,
      [self = self<EjectRequest>(), drive](const UDisksFailure* failure, const auto&) {
        if (failure == nullptr) {
          self->succeed();
        } else if (!drive.ejectable) {
          self->fail(failure->text);
        } else if (self->expectedDisk()) {
          self->eject(drive);
        }
      });
}

void EjectRequest::eject(const DriveFacts& drive) {
  services_.client.call(drive.path, udisks::kDrive, udisks::kEject,
                        [self = self<EjectRequest>()](const UDisksFailure* failure, const auto&) {
                          if (failure != nullptr) {
                            self->fail(failure->text);
                          } else {
                            self->succeed();
                          }
                        });
}

void EjectRequest::stopUnit(std::uint64_t sequence) {
  services_.workers.spawn([self = self<EjectRequest>(), sequence] {
    const bool stopped = self->services_.stopUnit(self->expected_.node, sequence);
    self->services_.mainThread.post([self, stopped] {
      self->services_.log.write(formatText("%@ is not alone on its drive: unmounted, %@.\n",
                                           self->expected_.node,
                                           stopped ? "stopped by itself" : "not ejected"));
      self->succeed();
    });
  });
}

}  // namespace fillstation
