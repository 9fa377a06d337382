#pragma once

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <memory>
#include <optional>
#include <string>

#include "Format.h"
#include "SystemBus.h"
#include "SystemLog.h"
#include "Workspace.h"

namespace fillstation {

// Keeps the computer awake, even with its lid closed, by an inhibitor of systemd's login manager on
// the system bus. It is a descriptor, so it always ends with the process. If there is no login
// manager, or it refuses, the log gets a line. Main thread; bus and log outlive it, and it outlives
// its calls.
class LogindWakefulness : public Wakefulness {
 public:
  LogindWakefulness(SystemBus& bus, SystemLog& log) : bus_(bus), log_(log) {}

  std::shared_ptr<void> keepAwake(const std::string& why) override {
    auto message = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
        QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
    message << QStringLiteral("sleep:handle-lid-switch") << QStringLiteral("Fillstation")
            << QString::fromStdString(why) << QStringLiteral("block");
    const auto inhibitor = std::make_shared<std::optional<QDBusUnixFileDescriptor>>();
    const std::weak_ptr waiting = inhibitor;
    bus_.call(message, SystemBus::kUsualTimeOut, [this, waiting](const QDBusMessage& answer) {
      if (answer.type() == QDBusMessage::ErrorMessage) {
        log_.write(formatText("The machine may fall asleep during the run: %@",
                              answer.errorMessage().toStdString()));
      } else if (const auto held = waiting.lock()) {
        held->emplace(answer.arguments().value(0).value<QDBusUnixFileDescriptor>());
      }
    });
    return inhibitor;
  }

 private:
  SystemBus& bus_;
  SystemLog& log_;
};

}  // namespace fillstation
