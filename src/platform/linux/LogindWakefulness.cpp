#include "LogindWakefulness.h"

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <optional>

#include "Format.h"

namespace fillstation {

std::shared_ptr<void> LogindWakefulness::keepAwake(const std::string& why) {
  auto message = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
      QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("Inhibit"));
  message << QStringLiteral("sleep:handle-lid-switch") << QStringLiteral("Fillstation")
          << QString::fromStdString(why) << QStringLiteral("block");
  const auto inhibitor = std::make_shared<std::optional<QDBusUnixFileDescriptor>>();
  bus_.call(
      message, SystemBus::kUsualTimeOut,
      [this, waiting = std::weak_ptr(inhibitor)](const auto& answer) {
        if (answer.type() == QDBusMessage::ErrorMessage) {
          log_.write(formatText("The machine may fall asleep during the run: %@",
                                answer.errorMessage().toStdString()));
        } else if (const auto held = waiting.lock()) {
          held->emplace(answer.arguments().value(0).template value<QDBusUnixFileDescriptor>());
        }
      });
  return inhibitor;
}

}  // namespace fillstation
