#pragma once

#include <string>

#include "DiskRequest.h"

namespace fillstation {

// Mounts the disk's volume as soon as the system knows the one that is to be: after a wipe that is
// the fresh one. A volume that is mounted already is a success. Main thread.
class MountRequest : public DiskRequest {
 public:
  using DiskRequest::DiskRequest;

  void run() override;

 private:
  void answered(const UDisksFailure* failure);
  // Looks again after a pause; ends for the reason when there have been enough.
  void runAgain(const std::string& reason);

  int pauses_ = 0;
};

}  // namespace fillstation
