#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "SystemLog.h"
#include "UDisksError.h"

namespace fillstation {

// Why a call failed.
struct UDisksFailure {
  UDisksError error = UDisksError::unknown;
  std::string text;  // the error's name and message, as they came
};

// Opens a connection of that name to the bus where UDisks2 is; one that isn't connected when there
// is no bus. Main thread.
using BusConnector = std::function<QDBusConnection(const QString& name)>;

// Calls to UDisks2: asynchronous, without a time-out, and refused rather than asking the user for
// anything. A bus that has gone is looked for anew at each call, and UDisks2 itself is started by
// the bus. A service that can't be reached and errors that nobody knows are logged here, raw. Main
// thread; the log outlives it. Replies that come after its end are dropped.
class UDisksClient {
 public:
  // Null on success; the values of the reply.
  using Callback = std::function<void(const UDisksFailure* failure, const QVariantList& values)>;

  UDisksClient(BusConnector connect, SystemLog& log) : connect_(std::move(connect)), log_(log) {}
  ~UDisksClient() { disconnect(); }
  UDisksClient(const UDisksClient&) = delete;
  UDisksClient& operator=(const UDisksClient&) = delete;

  // Calls a method that takes nothing but options. The callback never runs inside the call.
  void call(const std::string& path, const char* interface, const char* method, Callback callback);
  // Asks for all objects.
  void getObjects(Callback callback);

  // The object of a block device ("sdb1").
  static std::string blockPath(const std::string& blockName);

 private:
  void send(const std::string& path, const char* interface, const char* method,
            const QVariantList& arguments, Callback callback);
  const QDBusConnection& connected();
  void disconnect();
  UDisksFailure failureOf(const QDBusError& error);

  const BusConnector connect_;
  SystemLog& log_;
  std::optional<QDBusConnection> bus_;
  QObject calls_;  // owns those that are not answered yet
};

}  // namespace fillstation
