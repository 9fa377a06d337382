#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "QtMainThread.h"

namespace fillstation {

// Opens a connection of that name to the system bus; one that isn't connected when there is no bus.
// Called on a worker.
using BusConnector = std::function<QDBusConnection(const QString& name)>;

// The system bus, asynchronously: a bus that never answers blocks whoever connects, so a worker
// does it, at the first call and when the bus has gone. Main thread; what it was made with outlives
// it. Answers that come after its end are dropped.
class SystemBus {
 public:
  // A reply or an error.
  using Answered = std::function<void(const QDBusMessage& answer)>;
  // What Qt takes for the bus's own limit, 25 seconds.
  static constexpr int kUsualTimeOut = -1;

  SystemBus(BusConnector connect, QtMainThread& mainThread, Workers& workers)
      : connect_(std::move(connect)), mainThread_(mainThread), workers_(workers) {}
  ~SystemBus() { disconnect(); }
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  // Calls a method and waits so many milliseconds for the answer. Never answered inside this call.
  void call(const QDBusMessage& message, int timeOut, Answered answered);

 private:
  void connect();
  void disconnect();
  void send(const QDBusMessage& message, int timeOut, Answered answered);

  const BusConnector connect_;
  QtMainThread& mainThread_;
  Workers& workers_;
  std::optional<QDBusConnection> bus_;
  std::vector<std::function<void()>> waiting_;  // for the connection that is being made
  // Owns the calls that are not answered yet.
  const std::shared_ptr<QObject> calls_ = std::make_shared<QObject>();
};

}  // namespace fillstation
