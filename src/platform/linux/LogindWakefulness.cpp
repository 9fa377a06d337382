#include "LogindWakefulness.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <optional>

#include "Format.h"

namespace fillstation {

std::shared_ptr<void> LogindWakefulness::keepAwake(const std::string& why) {
  const auto name = QStringLiteral("fillstation-logind");
  // One that was made before may have lost its bus meanwhile.
  QDBusConnection::disconnectFromBus(name);
  auto message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
      QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
  message << QStringLiteral("sleep:handle-lid-switch") << QStringLiteral("Fillstation")
          << QString::fromStdString(why) << QStringLiteral("block");
  const auto inhibitor = std::make_shared<std::optional<QDBusUnixFileDescriptor>>();
  auto* const watcher = new QDBusPendingCallWatcher(connect_(name).asyncCall(message), &calls_);
  const auto answered = [this, watcher, waiting = std::weak_ptr(inhibitor)] {
    watcher->deleteLater();
    const QDBusPendingReply<QDBusUnixFileDescriptor> reply = *watcher;
    if (reply.isError()) {
      log_.write(formatText("The machine may fall asleep during the run: %@",
                            reply.error().message().toStdString()));
    } else if (const auto held = waiting.lock()) {
      held->emplace(reply.value());
    }
  };
  if (watcher->isFinished()) {
    answered();  // there is no bus
  } else {
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, answered);
  }
  return inhibitor;
}

}  // namespace fillstation
