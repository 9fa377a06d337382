#pragma once

#include <QDBusMessage>
#include <QVariantList>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SystemBus.h"
#include "SystemLog.h"

namespace fillstation {

// The meaning of an error reply from UDisks2, or from the bus in its place.
enum class UDisksError {
  alreadyMounted,
  notMounted,
  refused,      // busy, failed or not allowed, as in the message
  notThere,     // the object has gone, or has no such interface (yet)
  serviceGone,  // UDisks2 can't be reached, or ended before it answered
  unknown,
};

// The meaning of an error's D-Bus name. Any thread.
UDisksError udisksErrorOf(std::string_view name);

// Why a call failed.
struct UDisksFailure {
  UDisksError error = UDisksError::unknown;
  std::string text;  // the error's name and message, as they came
};

// A drive object of UDisks2. Sticks with equal or missing serial numbers share one. A plain value.
struct DriveFacts {
  std::string path;  // its object
  bool ejectable;
  bool canPowerOff;
  std::vector<std::string> blockNames;  // all block devices of this drive: "sdb", "sdb1"
};

// Calls to UDisks2: asynchronous, without a time-out; a call that would ask the user for a password
// is refused. The bus starts UDisks2. If it can't be reached, or returns an unknown error, the raw
// text is logged here. Main thread; bus and log outlive it, and it outlives its calls. Callbacks
// never run inside the call.
class UDisksClient {
 public:
  // The failure is null on success.
  using Done = std::function<void(const UDisksFailure* failure)>;
  // The drive is none on failure, too.
  using DriveFound =
      std::function<void(const UDisksFailure* failure, const std::optional<DriveFacts>& drive)>;

  UDisksClient(SystemBus& bus, SystemLog& log) : bus_(bus), log_(log) {}

  // Has the bus start UDisks2.
  void wake();
  // Mount a block device ("sdb1"); remove one of its mounts.
  void mount(const std::string& blockName, Done done);
  void unmount(const std::string& blockName, Done done);
  // Looks for the drive of a block device; none when it has none.
  void findDrive(const std::string& blockName, DriveFound found);
  void powerOff(const DriveFacts& drive, Done done);
  void eject(const DriveFacts& drive, Done done);

 private:
  using Answered = std::function<void(const UDisksFailure* failure, const QVariantList& values)>;

  void getObjects(Answered answered);
  // Calls a method whose only argument is options.
  void call(const std::string& path, const char* interface, const char* method, Done done);
  void send(const std::string& path, const char* interface, const char* method,
            const QVariantList& arguments, Answered answered);
  UDisksFailure failureOf(const QDBusMessage& answer);

  SystemBus& bus_;
  SystemLog& log_;
};

}  // namespace fillstation
