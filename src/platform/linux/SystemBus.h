#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "QtMainThread.h"

namespace fillstation {

// Opens a connection with that name to the system bus; without a bus, one that isn't connected.
// Called on a worker.
using BusConnector = std::function<QDBusConnection(const QString& name)>;

// The system bus, asynchronous. A bus that never answers blocks the connecting thread, so a worker
// connects, at the first call and when the bus has gone. Main thread; its services outlive it.
// Answers after its end are dropped.
class SystemBus {
 public:
  // A reply or an error.
  using Answered = std::function<void(const QDBusMessage& answer)>;
  // The bus's own limit in Qt, 25 seconds.
  static constexpr int kUsualTimeOut = -1;

  SystemBus(BusConnector connect, QtMainThread& mainThread, Workers& workers)
      : connect_(std::move(connect)), mainThread_(mainThread), workers_(workers) {}
  ~SystemBus() { disconnect(); }
  SystemBus(const SystemBus&) = delete;
  SystemBus& operator=(const SystemBus&) = delete;

  // Calls a method and waits this number of milliseconds for the answer, which never comes inside
  // the call.
  void call(const QDBusMessage& message, int timeOut, Answered answered) {
    if (bus_ && bus_->isConnected()) {
      send(message, timeOut, std::move(answered));
      return;
    }
    waiting_.emplace_back([this, message, timeOut, answered = std::move(answered)] {
      send(message, timeOut, answered);
    });
    if (waiting_.size() == 1) {
      connect();
    }
  }

 private:
  static constexpr const char* kConnectionName = "fillstation-system";

  void connect() {
    disconnect();
    workers_.spawn(
        [this, connect = connect_, &mainThread = mainThread_, alive = std::weak_ptr(calls_)] {
          const auto bus = connect(QString::fromLatin1(kConnectionName));
          mainThread.post([this, bus, alive] {
            if (alive.expired()) {
              return;
            }
            bus_ = bus;
            for (const auto& call : std::exchange(waiting_, {})) {
              call();
            }
          });
        });
  }

  // Not while a worker makes the connection: Qt would delete what the worker still holds.
  void disconnect() {
    if (bus_) {
      bus_.reset();
      QDBusConnection::disconnectFromBus(QString::fromLatin1(kConnectionName));
    }
  }

  void send(const QDBusMessage& message, int timeOut, Answered answered) {
    auto* const watcher =
        new QDBusPendingCallWatcher(bus_->asyncCall(message, timeOut), calls_.get());
    const auto finished = [watcher, answered = std::move(answered)] {
      watcher->deleteLater();
      answered(watcher->reply());
    };
    if (watcher->isFinished()) {
      // Without a bus there will never be an answer.
      QMetaObject::invokeMethod(watcher, finished, Qt::QueuedConnection);
    } else {
      QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, finished);
    }
  }

  const BusConnector connect_;
  QtMainThread& mainThread_;
  Workers& workers_;
  std::optional<QDBusConnection> bus_;
  std::vector<std::function<void()>> waiting_;  // for the connection that is being made
  // Owns the calls that are not answered yet.
  const std::shared_ptr<QObject> calls_ = std::make_shared<QObject>();
};

}  // namespace fillstation
