#include "MountRequest.h"

#include <QTimer>

#include "UDisksNames.h"

namespace fillstation {

void MountRequest::run() {
  const auto facts = expectedDisk();
  if (!facts) {
    return;
  }
  const auto volume = volumeOn(*facts, services_.known);
  if (!volume) {
    runAgain("No file system has been found.");
  } else if (!services_.mounts.mountPoints(volume->number).empty()) {
    succeed();
  } else {
    services_.client.call(UDisksClient::blockPath(volume->name), udisks::kFilesystem,
                          udisks::kMount,
                          [self = self<MountRequest>()](const UDisksFailure* failure, const auto&) {
                            self->answered(failure);
                          });
  }
}

void MountRequest::answered(const UDisksFailure* failure) {
  if (failure == nullptr || failure->error == UDisksError::alreadyMounted) {
    succeed();
  } else if (failure->error == UDisksError::notThere) {
    // UDisks2 knows a new file system a while after udev does.
    runAgain(failure->text);
  } else {
    fail(failure->text);
  }
}

void MountRequest::runAgain(const std::string& reason) {
  if (pauses_ == services_.patience.pauses) {
    fail(reason);
    return;
  }
  ++pauses_;
  QTimer::singleShot(services_.patience.pause, [self = self<MountRequest>()] { self->run(); });
}

}  // namespace fillstation
