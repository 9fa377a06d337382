#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

#include "KnownDisks.h"
#include "MountTable.h"
#include "QtMainThread.h"
#include "SystemLog.h"
#include "UDisksClient.h"
#include "Workers.h"

namespace fillstation {

// How long a mount waits for the system to notice the fresh file system: it looks at once and then
// after each pause, 30 seconds in all.
struct MountPatience {
  std::chrono::milliseconds pause{250};
  int pauses = 120;
};

// Stops the unit of the disk at the node if it is the one with that sequence number; false when
// that can't be done, as for most users. Called on a worker.
using UnitStopper = std::function<bool(const std::string& node, std::uint64_t sequence)>;

// What the requests to disks work with. All of it outlives them.
struct DiskServices {
  QtMainThread& mainThread;
  Workers& workers;
  SystemLog& log;
  KnownDisks& known;
  const MountTable& mounts;
  UDisksClient& client;
  UnitStopper stopUnit;
  MountPatience patience;
};

}  // namespace fillstation
