#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QFile>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <utility>

#include "SystemBus.h"

namespace fillstation {

// The only window of a session: a second start of the program raises the first one's window
// instead. The two find each other by a name on the session bus; without a bus every start is the
// first. Main thread.
class SessionInstance : public QDBusVirtualObject {
 public:
  // The desktop's permission to come to the front, which a started program gets.
  static constexpr const char* kToken = "XDG_ACTIVATION_TOKEN";

  // Connects to the session bus, if the session has one: Qt's own connection would start one.
  static QDBusConnection connect(const QString& name) {
    const bool hasBus =
        qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS") ||
        QFile::exists(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/bus"));
    return hasBus ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                  : QDBusConnection(name);
  }

  explicit SessionInstance(const BusConnector& connector)
      : bus_(connector(QStringLiteral("fillstation-session"))) {}

  // Takes the name. False if another program has it and was asked to come to the front; but true if
  // that one doesn't answer within five seconds.
  bool claim() {
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

  // Called in the first instance by a second start.
  void onRaise(std::function<void()> raise) { raise_ = std::move(raise); }

  QString introspect(const QString& /*path*/) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
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

 private:
  static constexpr const char* kService = "example.fillstation.fillstation";
  static constexpr const char* kPath = "/example/fillstation/fillstation";
  static constexpr const char* kInterface = "org.freedesktop.Application";
  static constexpr const char* kTokenKey = "activation-token";
  // Milliseconds that a second start waits for a first one that hangs.
  static constexpr int kPatience = 5000;

  QDBusConnection bus_;
  std::function<void()> raise_;
};

}  // namespace fillstation
