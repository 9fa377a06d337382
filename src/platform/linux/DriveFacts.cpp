#include "DriveFacts.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QMap>
#include <QVariantMap>

#include "UDisksClient.h"
#include "UDisksNames.h"

namespace fillstation {

namespace {

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;

QVariant property(const Interfaces& interfaces, const char* interface, const char* name) {
  return interfaces.value(QString::fromLatin1(interface)).value(QString::fromLatin1(name));
}

QDBusObjectPath drivePathOf(const Interfaces& interfaces) {
  return property(interfaces, udisks::kBlock, udisks::kBlockDrive).value<QDBusObjectPath>();
}

// "sdb" of "/dev/sdb" with a NUL behind.
std::string blockNameOf(const Interfaces& interfaces) {
  const auto node = property(interfaces, udisks::kBlock, udisks::kBlockDevice).toByteArray();
  const std::string text(node.constData());
  return text.substr(text.rfind('/') + 1);
}

}  // namespace

std::optional<DriveFacts> driveOf(const std::string& blockName, const QVariantList& objects) {
  const auto all = qdbus_cast<Objects>(objects.value(0));
  const QDBusObjectPath block(QString::fromStdString(UDisksClient::blockPath(blockName)));
  const QDBusObjectPath path = drivePathOf(all.value(block));
  if (!all.contains(path)) {
    return std::nullopt;
  }
  DriveFacts drive{path.path().toStdString(),
                   property(all.value(path), udisks::kDrive, udisks::kEjectable).toBool(),
                   property(all.value(path), udisks::kDrive, udisks::kCanPowerOff).toBool(),
                   {}};
  for (const auto& interfaces : all) {
    if (drivePathOf(interfaces) == path) {
      drive.blockNames.push_back(blockNameOf(interfaces));
    }
  }
  return drive;
}

}  // namespace fillstation
