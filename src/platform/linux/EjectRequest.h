#pragma once

#include <QVariantList>
#include <string>

#include "DiskRequest.h"
#include "DriveFacts.h"

namespace fillstation {

// Unmounts the disk, then powers its drive off, or ejects it where that can't be. A drive that
// other USB devices share is left alone, for it can't be said whom it would hit: then the unit is
// stopped by itself if the user may, and a line in the log says how it ended. Main thread.
class EjectRequest : public DiskRequest {
 public:
  using DiskRequest::DiskRequest;

  void run() override;

 private:
  void unmounted();
  void goOnWith(const QVariantList& objects);
  // Everything that has this drive lies below the expected USB device.
  bool isAlone(const DriveFacts& drive) const;
  void powerOff(const DriveFacts& drive);
  void eject(const DriveFacts& drive);
  void stopUnit(std::uint64_t sequence);
};

}  // namespace fillstation
