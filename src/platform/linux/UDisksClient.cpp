#include "UDisksClient.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>
#include <limits>
#include <utility>

#include "Format.h"
#include "UDisksNames.h"

namespace fillstation {

namespace {

constexpr const char* kConnectionName = "fillstation-udisks";

// What libdbus takes as "wait for ever"; Qt hands the number on. (-1 is its default of 25 seconds.)
constexpr int kNoTimeOut = std::numeric_limits<int>::max();

}  // namespace

void UDisksClient::call(const std::string& path, const char* interface, const char* method,
                        Callback callback) {
  const QVariantMap options{{QString::fromLatin1(udisks::kNoUserInteraction), true}};
  send(path, interface, method, {options}, std::move(callback));
}

void UDisksClient::getObjects(Callback callback) {
  send(udisks::kRoot, udisks::kObjectManager, udisks::kGetManagedObjects, {}, std::move(callback));
}

std::string UDisksClient::blockPath(const std::string& blockName) {
  return udisks::kBlockPrefix + blockName;
}

void UDisksClient::send(const std::string& path, const char* interface, const char* method,
                        const QVariantList& arguments, Callback callback) {
  auto message = QDBusMessage::createMethodCall(
      QString::fromLatin1(udisks::kService), QString::fromStdString(path),
      QString::fromLatin1(interface), QString::fromLatin1(method));
  message.setArguments(arguments);
  auto* const watcher =
      new QDBusPendingCallWatcher(connected().asyncCall(message, kNoTimeOut), &calls_);
  const auto answered = [this, watcher, callback = std::move(callback)] {
    watcher->deleteLater();
    if (watcher->isError()) {
      const UDisksFailure failure = failureOf(watcher->error());
      callback(&failure, {});
    } else {
      callback(nullptr, watcher->reply().arguments());
    }
  };
  if (watcher->isFinished()) {
    // Without a bus nobody will ever tell.
    QMetaObject::invokeMethod(watcher, answered, Qt::QueuedConnection);
  } else {
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, answered);
  }
}

const QDBusConnection& UDisksClient::connected() {
  if (!bus_ || !bus_->isConnected()) {
    disconnect();
    bus_ = connect_(QString::fromLatin1(kConnectionName));
  }
  return *bus_;
}

void UDisksClient::disconnect() {
  if (bus_) {
    bus_.reset();
    QDBusConnection::disconnectFromBus(QString::fromLatin1(kConnectionName));
  }
}

UDisksFailure UDisksClient::failureOf(const QDBusError& error) {
  const std::string name = error.name().toStdString();
  UDisksFailure failure{udisksErrorOf(name), name + ": " + error.message().toStdString()};
  if (failure.error == UDisksError::serviceGone) {
    log_.write(formatText("UDisks2 can't be reached: %@\n", failure.text));
  } else if (failure.error == UDisksError::unknown) {
    log_.write(formatText("UDisks2 failed: %@\n", failure.text));
  }
  return failure;
}

}  // namespace fillstation
