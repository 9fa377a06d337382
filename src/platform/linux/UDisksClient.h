#pragma once

#include <QDBusMessage>
#include <QVariantList>
#include <functional>
#include <string>

#include "SystemBus.h"
#include "SystemLog.h"
#include "UDisksError.h"

namespace fillstation {

// Why a call failed.
struct UDisksFailure {
  UDisksError error = UDisksError::unknown;
  std::string text;  // the error's name and message, as they came
};

// Calls to UDisks2: asynchronous, without a time-out, and refused rather than asking the user for
// anything. UDisks2 is started by the bus. A service that can't be reached and errors that nobody
// knows are logged here, raw. Main thread; bus and log outlive it, and it outlives its calls.
class UDisksClient {
 public:
  // Null on success; the values of the reply.
  using Callback = std::function<void(const UDisksFailure* failure, const QVariantList& values)>;

  UDisksClient(SystemBus& bus, SystemLog& log) : bus_(bus), log_(log) {}

  // Calls a method that takes nothing but options. The callback never runs inside the call.
  void call(const std::string& path, const char* interface, const char* method, Callback callback);
  // Asks for all objects.
  void getObjects(Callback callback);

  // The object of a block device ("sdb1").
  static std::string blockPath(const std::string& blockName);

 private:
  void send(const std::string& path, const char* interface, const char* method,
            const QVariantList& arguments, Callback callback);
  UDisksFailure failureOf(const QDBusMessage& answer);

  SystemBus& bus_;
  SystemLog& log_;
};

}  // namespace fillstation
