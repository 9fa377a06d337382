#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QMap>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "PrivateBus.h"

namespace fillstation::test {

// The calls, with their options.
struct UDisksCall {
  std::string path;
  std::string member;  // "Filesystem.Mount", without UDisks2's or the bus's prefix
  QVariantMap options;
  std::string object() const { return path.substr(path.rfind('/') + 1); }  // "sdb", "D1"
  bool operator==(const UDisksCall&) const = default;
};

// How a call is answered: an error when it has a name, otherwise the values; not at all when it is
// withheld.
struct UDisksAnswer {
  std::string errorName;
  std::string errorText;
  QVariantList values;
  bool withheld = false;

  static UDisksAnswer error(const std::string& name) { return {name, "So it is.", {}, false}; }
};

// A block object of the fake.
struct UDisksBlock {
  std::string name;   // "sdb"
  std::string drive;  // "D1"; empty for none
};
struct UDisksDrive {
  bool ejectable = false;
  bool canPowerOff = false;
};

// A fake UDisks2 on a private bus. Every answer waits for its turn in the main loop. Main thread.
class FakeUDisks : public QDBusVirtualObject {
 public:
  using Handler = std::function<UDisksAnswer(const UDisksCall&)>;

  explicit FakeUDisks(const QDBusConnection& connection) : connection_(connection) {
    qDBusRegisterMetaType<Interfaces>();
    qDBusRegisterMetaType<Objects>();
    connection_->registerVirtualObject(kRoot, this, QDBusConnection::SubPath);
    connection_->registerService(kService);
  }

  // The answer to calls; by default success without a value.
  Handler handler;
  // The list of GetManagedObjects.
  std::vector<UDisksBlock> blocks;
  std::map<std::string, UDisksDrive> drives;
  std::vector<UDisksCall> calls;
  // The names of the members called, in order.
  std::vector<std::string> members() const {
    std::vector<std::string> names;
    for (const auto& call : calls) {
      names.push_back(call.member);
    }
    return names;
  }

  // UDisks2 dies.
  void vanish() {
    const QString name = connection_->name();
    connection_.reset();
    QDBusConnection::disconnectFromBus(name);
  }

  static std::string drivePath(const std::string& drive) {
    return drive.empty() ? "/" : std::string(kRoot) + "/drives/" + drive;
  }

  QString introspect(const QString& /*path*/) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    UDisksCall call;
    call.path = message.path().toStdString();
    call.member = QString(message.interface() + "." + message.member())
                      .remove(QStringLiteral("org.freedesktop.UDisks2."))
                      .remove(QStringLiteral("org.freedesktop.DBus."))
                      .toStdString();
    call.options = qdbus_cast<QVariantMap>(message.arguments().value(0));
    calls.push_back(call);
    QTimer::singleShot(0, this, [this, call, message, connection] {
      const UDisksAnswer said = answer(call);
      if (said.withheld) {
        return;
      }
      connection.send(said.errorName.empty()
                          ? message.createReply(said.values)
                          : message.createErrorReply(QString::fromStdString(said.errorName),
                                                     QString::fromStdString(said.errorText)));
    });
    message.setDelayedReply(true);
    return true;
  }

 private:
  // Written out here again: a name that is wrong in the program must not be wrong here as well.
  static constexpr const char* kService = "org.freedesktop.UDisks2";
  static constexpr const char* kRoot = "/org/freedesktop/UDisks2";

  using Interfaces = QMap<QString, QVariantMap>;
  using Objects = QMap<QDBusObjectPath, Interfaces>;

  UDisksAnswer answer(const UDisksCall& call) {
    UDisksAnswer said = handler ? handler(call) : UDisksAnswer();
    if (call.member == "ObjectManager.GetManagedObjects" && said.errorName.empty()) {
      said.values = objects();
    }
    return said;
  }
  QVariantList objects() const {
    Objects all;
    for (const auto& block : blocks) {
      const QDBusObjectPath path(QString(kRoot) + "/block_devices/" +
                                 QString::fromStdString(block.name));
      const QDBusObjectPath drive(QString::fromStdString(drivePath(block.drive)));
      const std::string node = "/dev/" + block.name;
      all[path]["org.freedesktop.UDisks2.Block"] = {
          {"Device", QByteArray(node.c_str(), static_cast<qsizetype>(node.size() + 1))},
          {"Drive", QVariant::fromValue(drive)}};
    }
    for (const auto& [name, drive] : drives) {
      all[QDBusObjectPath(QString::fromStdString(drivePath(name)))]
         ["org.freedesktop.UDisks2.Drive"] = {{"Ejectable", drive.ejectable},
                                              {"CanPowerOff", drive.canPowerOff}};
    }
    return {QVariant::fromValue(all)};
  }

  std::optional<QDBusConnection> connection_;
};

}  // namespace fillstation::test
