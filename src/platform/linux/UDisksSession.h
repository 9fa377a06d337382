#pragma once

#include <chrono>
#include <memory>
#include <string_view>

#include "DiskOrder.h"
#include "DiskSession.h"
#include "KnownDisks.h"
#include "QtMainThread.h"
#include "SystemLog.h"
#include "UDisksClient.h"

namespace fillstation {

// How long a mount waits for the system to notice the new file system: it looks at once and after
// each pause, for 30 seconds in all.
struct MountPatience {
  std::chrono::milliseconds pause{250};
  int pauses = 120;
};

// The services of the requests to disks. All of them outlive the requests.
struct DiskServices {
  QtMainThread& mainThread;
  Workers& workers;
  SystemLog& log;
  KnownDisks& known;
  UDisksClient& client;
  MountPatience patience;
};

// The disks of this computer through UDisks2. Before each change, a request checks that the disk is
// still the player's. Any thread. There is only one session, since it keeps the order of the
// requests to each disk. The services outlive it, and it outlives its requests.
class UDisksSession : public DiskSession {
 public:
  explicit UDisksSession(const DiskServices& services)
      : services_(services), order_(services.mainThread) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  // A mount takes the volume when the system knows the right one: after a wipe, the new one. An
  // unmount removes every mount of the disk and its partitions. If the volume is already mounted,
  // or not mounted, that is a success. An eject unmounts the disk, then powers its drive off, or
  // ejects it if that is not possible. A drive that is shared with other USB devices is left alone,
  // because the wrong one could be hit: then only the unit is stopped, if the user may, and a line
  // in the log reports the result.
  void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;

 private:
  class Request;

  const DiskServices& services_;
  DiskOrder order_;
};

}  // namespace fillstation
