#include "UDisksClient.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QMap>
#include <QVariantMap>
#include <limits>
#include <map>

#include "DiskSession.h"
#include "Format.h"

namespace fillstation {

namespace {

// libdbus's value for "no time-out"; Qt passes the number on. (-1 is its default of 25 seconds.)
constexpr int kNoTimeOut = std::numeric_limits<int>::max();

// UDisks2's own names.
constexpr const char* kUDisks = "org.freedesktop.UDisks2";
constexpr const char* kUDisksRoot = "/org/freedesktop/UDisks2";
constexpr const char* kBlockInterface = "org.freedesktop.UDisks2.Block";
constexpr const char* kDriveInterface = "org.freedesktop.UDisks2.Drive";
constexpr const char* kFilesystemInterface = "org.freedesktop.UDisks2.Filesystem";
// An option of every method: refuse instead of asking the user for a password.
constexpr const char* kNoUserInteraction = "auth.no_user_interaction";

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

std::string blockPath(const std::string& blockName) {
  return std::string(kUDisksRoot) + "/block_devices/" + blockName;
}

QVariant propertyOf(const Interfaces& interfaces, const char* interface, const char* name) {
  return interfaces.value(QString::fromLatin1(interface)).value(QString::fromLatin1(name));
}

// "/" for none.
QDBusObjectPath drivePathOf(const Interfaces& interfaces) {
  return propertyOf(interfaces, kBlockInterface, "Drive").value<QDBusObjectPath>();
}

// The node's path has a NUL behind.
std::string blockNameOf(const Interfaces& interfaces) {
  return diskNameOf(propertyOf(interfaces, kBlockInterface, "Device").toByteArray().constData());
}

std::optional<DriveFacts> driveOf(const std::string& blockName, const QVariantList& objects) {
  const auto all = qdbus_cast<Objects>(objects.value(0));
  const QDBusObjectPath block(QString::fromStdString(blockPath(blockName)));
  const QDBusObjectPath path = drivePathOf(all.value(block));
  if (!all.contains(path)) {
    return std::nullopt;
  }
  DriveFacts drive{path.path().toStdString(),
                   propertyOf(all.value(path), kDriveInterface, "Ejectable").toBool(),
                   propertyOf(all.value(path), kDriveInterface, "CanPowerOff").toBool(),
                   {}};
  for (const auto& interfaces : all) {
    if (drivePathOf(interfaces) == path) {
      drive.blockNames.push_back(blockNameOf(interfaces));
    }
  }
  return drive;
}

}  // namespace

UDisksError udisksErrorOf(std::string_view name) {
  static const std::map<std::string_view, UDisksError> kMeanings{
      {"org.freedesktop.UDisks2.Error.AlreadyMounted", UDisksError::alreadyMounted},
      {"org.freedesktop.UDisks2.Error.NotMounted", UDisksError::notMounted},
      {"org.freedesktop.UDisks2.Error.DeviceBusy", UDisksError::refused},
      {"org.freedesktop.UDisks2.Error.Failed", UDisksError::refused},
      {"org.freedesktop.UDisks2.Error.NotAuthorized", UDisksError::refused},
      {"org.freedesktop.DBus.Error.UnknownMethod", UDisksError::notThere},
      {"org.freedesktop.DBus.Error.UnknownObject", UDisksError::notThere},
      {"org.freedesktop.DBus.Error.UnknownInterface", UDisksError::notThere},
      {"org.freedesktop.DBus.Error.ServiceUnknown", UDisksError::serviceGone},
      {"org.freedesktop.DBus.Error.NoReply", UDisksError::serviceGone},
      {"org.freedesktop.DBus.Error.Disconnected", UDisksError::serviceGone},
  };
  // The common prefix of the errors of starting a service on demand.
  if (name.starts_with("org.freedesktop.DBus.Error.Spawn.")) {
    return UDisksError::serviceGone;
  }
  const auto meaning = kMeanings.find(name);
  return meaning != kMeanings.end() ? meaning->second : UDisksError::unknown;
}

void UDisksClient::wake() {
  getObjects([](const auto* /*failure*/, const auto& /*objects*/) {});
}

void UDisksClient::mount(const std::string& blockName, Done done) {
  call(blockPath(blockName), kFilesystemInterface, "Mount", std::move(done));
}

void UDisksClient::unmount(const std::string& blockName, Done done) {
  call(blockPath(blockName), kFilesystemInterface, "Unmount", std::move(done));
}

void UDisksClient::findDrive(const std::string& blockName, DriveFound found) {
  getObjects([blockName, found = std::move(found)](const auto* failure, const auto& objects) {
    found(failure, driveOf(blockName, objects));
  });
}

void UDisksClient::powerOff(const DriveFacts& drive, Done done) {
  call(drive.path, kDriveInterface, "PowerOff", std::move(done));
}

void UDisksClient::eject(const DriveFacts& drive, Done done) {
  call(drive.path, kDriveInterface, "Eject", std::move(done));
}

void UDisksClient::getObjects(Answered answered) {
  send(kUDisksRoot, "org.freedesktop.DBus.ObjectManager", "GetManagedObjects", {},
       std::move(answered));
}

void UDisksClient::call(const std::string& path, const char* interface, const char* method,
                        Done done) {
  const QVariantMap options{{QString::fromLatin1(kNoUserInteraction), true}};
  send(path, interface, method, {options},
       [done = std::move(done)](const auto* failure, const auto& /*values*/) { done(failure); });
}

void UDisksClient::send(const std::string& path, const char* interface, const char* method,
                        const QVariantList& arguments, Answered answered) {
  auto message =
      QDBusMessage::createMethodCall(QString::fromLatin1(kUDisks), QString::fromStdString(path),
                                     QString::fromLatin1(interface), QString::fromLatin1(method));
  message.setArguments(arguments);
  bus_.call(message, kNoTimeOut, [this, answered = std::move(answered)](const auto& answer) {
    if (answer.type() == QDBusMessage::ErrorMessage) {
      const UDisksFailure failure = failureOf(answer);
      answered(&failure, {});
    } else {
      answered(nullptr, answer.arguments());
    }
  });
}

UDisksFailure UDisksClient::failureOf(const QDBusMessage& answer) {
  const std::string name = answer.errorName().toStdString();
  UDisksFailure failure{udisksErrorOf(name), name + ": " + answer.errorMessage().toStdString()};
  if (failure.error == UDisksError::serviceGone) {
    log_.write(formatText("UDisks2 can't be reached: %@\n", failure.text));
  } else if (failure.error == UDisksError::unknown) {
    log_.write(formatText("UDisks2 failed: %@\n", failure.text));
  }
  return failure;
}

}  // namespace fillstation
