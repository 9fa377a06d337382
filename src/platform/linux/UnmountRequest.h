#pragma once

#include <cstddef>
#include <limits>

#include "DiskRequest.h"

namespace fillstation {

// Unmounts every file system on the disk and its partitions, wherever they are mounted. A disk
// where nothing is mounted is a success. Main thread.
class UnmountRequest : public DiskRequest {
 public:
  using DiskRequest::DiskRequest;

  void run() override;

 private:
  std::size_t mountsBefore_ = std::numeric_limits<std::size_t>::max();
};

}  // namespace fillstation
