#include "PrivateBus.h"

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QMap>
#include <QTimer>
#include <string>

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;
Q_DECLARE_METATYPE(Interfaces)
Q_DECLARE_METATYPE(Objects)

namespace fillstation::test {

namespace {

// Written out here again: a name that is wrong in the program must not be wrong here as well.
constexpr const char* kService = "org.freedesktop.UDisks2";
constexpr const char* kRoot = "/org/freedesktop/UDisks2";

}  // namespace

PrivateBus::PrivateBus() { start(); }

void PrivateBus::start() {
  const std::string configuration = folder_.write("bus.conf",
                                                  "<busconfig>"
                                                  "<listen>unix:dir=" +
                                                      folder_.path() +
                                                      "</listen>"
                                                      "<policy context='default'>"
                                                      "<allow user='*'/>"
                                                      "<allow own='*'/>"
                                                      "<allow send_destination='*'/>"
                                                      "<allow receive_sender='*'/>"
                                                      "</policy></busconfig>");
  daemon_.setStandardErrorFile(QProcess::nullDevice());
  daemon_.start("dbus-daemon", {"--nofork", "--nopidfile", "--print-address",
                                QString::fromStdString("--config-file=" + configuration)});
  // It says its address when it is ready.
  EXPECT_TRUE(daemon_.waitForReadyRead(-1));
  address_ = QString::fromLatin1(daemon_.readLine()).trimmed();
}

PrivateBus::~PrivateBus() {
  for (const QString& name : connections_) {
    QDBusConnection::disconnectFromBus(name);
  }
  stop();
}

QDBusConnection PrivateBus::connect(const QString& name) {
  {
    const std::scoped_lock guard(lock_);
    connections_.append(name);
  }
  return QDBusConnection::connectToBus(address_, name);
}

void PrivateBus::stop() {
  daemon_.kill();
  daemon_.waitForFinished(-1);
}

StandInUDisks::StandInUDisks(const QDBusConnection& connection) : connection_(connection) {
  qDBusRegisterMetaType<Interfaces>();
  qDBusRegisterMetaType<Objects>();
  connection_->registerVirtualObject(kRoot, this, QDBusConnection::SubPath);
  connection_->registerService(kService);
}

void StandInUDisks::vanish() {
  const QString name = connection_->name();
  connection_.reset();
  QDBusConnection::disconnectFromBus(name);
}

std::string StandInUDisks::drivePath(const std::string& drive) {
  return drive.empty() ? "/" : std::string(kRoot) + "/drives/" + drive;
}

std::vector<std::string> StandInUDisks::members() const {
  std::vector<std::string> names;
  for (const auto& call : calls) {
    names.push_back(call.member);
  }
  return names;
}

QString StandInUDisks::introspect(const QString& /*path*/) const { return {}; }

bool StandInUDisks::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
  UDisksCall call;
  call.path = message.path().toStdString();
  call.member = (message.interface().section('.', -1) + "." + message.member()).toStdString();
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

UDisksAnswer StandInUDisks::answer(const UDisksCall& call) {
  UDisksAnswer said = handler ? handler(call) : UDisksAnswer();
  if (call.member == "ObjectManager.GetManagedObjects" && said.errorName.empty()) {
    said.values = objects();
  }
  return said;
}

QVariantList StandInUDisks::objects() const {
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
    all[QDBusObjectPath(QString::fromStdString(drivePath(name)))]["org.freedesktop.UDisks2.Drive"] =
        {{"Ejectable", drive.ejectable}, {"CanPowerOff", drive.canPowerOff}};
  }
  return {QVariant::fromValue(all)};
}

}  // namespace fillstation::test
