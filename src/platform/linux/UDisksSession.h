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

// How long a mount waits for the system to notice the fresh file system: it looks at once and then
// after each pause, 30 seconds in all.
struct MountPatience {
  std::chrono::milliseconds pause{250};
  int pauses = 120;
};

// What the requests to disks work with. All of it outlives them.
struct DiskServices {
  QtMainThread& mainThread;
  Workers& workers;
  SystemLog& log;
  KnownDisks& known;
  UDisksClient& client;
  MountPatience patience;
};

// The disks of this machine through UDisks2. Before anything that changes a disk a request looks
// whether it still is the player's. Any thread; one for all who ask, since it keeps the order of
// the requests to a disk. The services outlive it, and it outlives its requests.
class UDisksSession : public DiskSession {
 public:
  explicit UDisksSession(const DiskServices& services)
      : services_(services), order_(services.mainThread) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override;
  // A mount takes the volume as soon as the system knows the one that is to be: after a wipe that
  // is the fresh one. An unmount takes every file system on the disk and its partitions, wherever
  // they are mounted. What is mounted already, or not mounted, is a success. An eject unmounts the
  // disk, then powers its drive off, or ejects it where that can't be. A drive that other USB
  // devices share is left alone, for it can't be said whom it would hit: then the unit is stopped
  // by itself if the user may, and a line in the log says how it ended.
  void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
               Completion completion) override;

 private:
  class Request;

  const DiskServices& services_;
  DiskOrder order_;
};

}  // namespace fillstation
