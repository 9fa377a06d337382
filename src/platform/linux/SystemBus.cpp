#include "SystemBus.h"

#include <QDBusPendingCallWatcher>

namespace fillstation {

namespace {

constexpr const char* kConnectionName = "fillstation-system";

}  // namespace

void SystemBus::call(const QDBusMessage& message, int timeOut, Answered answered) {
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

void SystemBus::connect() {
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

void SystemBus::disconnect() {
  if (bus_) {
    bus_.reset();
    QDBusConnection::disconnectFromBus(QString::fromLatin1(kConnectionName));
  }
}

void SystemBus::send(const QDBusMessage& message, int timeOut, Answered answered) {
  auto* const watcher =
      new QDBusPendingCallWatcher(bus_->asyncCall(message, timeOut), calls_.get());
  const auto finished = [watcher, answered = std::move(answered)] {
    watcher->deleteLater();
    answered(watcher->reply());
  };
  if (watcher->isFinished()) {
    // Without a bus nobody will ever tell.
    QMetaObject::invokeMethod(watcher, finished, Qt::QueuedConnection);
  } else {
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, finished);
  }
}

}  // namespace fillstation
