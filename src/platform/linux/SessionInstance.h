#pragma once

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QString>
#include <functional>
#include <utility>

#include "UDisksClient.h"

namespace fillstation {

// The one window of a session: whoever starts the program a second time gets the first one's window
// raised instead. Known to each other by a name on the session bus; without such a bus every start
// is the first. Main thread.
class SessionInstance : public QDBusVirtualObject {
 public:
  // The desktop's leave to come to the front, as it handed it to a program that it starts.
  static constexpr const char* kToken = "XDG_ACTIVATION_TOKEN";

  // Connects to the session's bus, if the session has one: the connection by itself would start
  // one.
  static QDBusConnection connect(const QString& name);

  explicit SessionInstance(const BusConnector& connector)
      : bus_(connector(QStringLiteral("fillstation-session"))) {}

  // Takes the name. False when another program has it and has been asked to come to the front; true
  // too when that one doesn't answer within five seconds.
  bool claim();

  // What a second start makes this one do.
  void onRaise(std::function<void()> raise) { raise_ = std::move(raise); }

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  QDBusConnection bus_;
  std::function<void()> raise_;
};

}  // namespace fillstation
