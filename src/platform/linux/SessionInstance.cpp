#include "SessionInstance.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QFile>
#include <QVariantMap>

namespace fillstation {

namespace {

constexpr const char* kService = "example.fillstation.fillstation";
constexpr const char* kPath = "/example/fillstation/fillstation";
constexpr const char* kInterface = "org.freedesktop.Application";
constexpr const char* kTokenKey = "activation-token";
// Milliseconds that somebody who wants a window waits for one that hangs.
constexpr int kPatience = 5000;

}  // namespace

QDBusConnection SessionInstance::connect(const QString& name) {
  const bool hasBus =
      qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
      QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
  return hasBus ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                : QDBusConnection(name);
}

bool SessionInstance::claim() {
  if (!bus_.isConnected()) {
    return true;
  }
  bus_.registerVirtualObject(QString::fromLatin1(kPath), this);
  if (bus_.registerService(QString::fromLatin1(kService))) {
    return true;
  }
  auto message =
      QDBusMessage::createMethodCall(QString::fromLatin1(kService), QString::fromLatin1(kPath),
                                     QString::fromLatin1(kInterface), QStringLiteral("Activate"));
  message << QVariantMap{{QString::fromLatin1(kTokenKey), qEnvironmentVariable(kToken)}};
  return bus_.call(message, QDBus::Block, kPatience).type() != QDBusMessage::ReplyMessage;
}

QString SessionInstance::introspect(const QString& /*path*/) const {
  return QStringLiteral(
      "<interface name='org.freedesktop.Application'><method name='Activate'>"
      "<arg type='a{sv}' direction='in'/></method></interface>");
}

bool SessionInstance::handleMessage(const QDBusMessage& message,
                                    const QDBusConnection& connection) {
  if (message.interface() != QLatin1String(kInterface) ||
      message.member() != QLatin1String("Activate")) {
    return false;
  }
  connection.send(message.createReply());
  const auto facts = qdbus_cast<QVariantMap>(message.arguments().value(0));
  qputenv(kToken, facts.value(QString::fromLatin1(kTokenKey)).toString().toUtf8());
  if (raise_) {
    raise_();
  }
  return true;
}

}  // namespace fillstation
