#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "TempFolder.h"

namespace fillstation::test {

// A D-Bus of the test's own, as it is until it is stopped. Main thread.
class PrivateBus {
 public:
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  const QString& address() const { return address_; }
  // A new connection of that name, closed by disconnect() or with the bus. Any thread.
  QDBusConnection connect(const QString& name);
  // The whole bus goes; comes back, with nobody on it.
  void stop();
  void start();

 private:
  TempFolder folder_;
  QProcess daemon_;
  QString address_;
  std::mutex lock_;
  QStringList connections_;
};

// What was called, and with which options.
struct UDisksCall {
  std::string path;
  std::string member;  // "Filesystem.Mount", without the common beginning of the interfaces
  QVariantMap options;
  bool operator==(const UDisksCall&) const = default;
};

// How a call is answered: an error when it has a name, otherwise the values; not at all when it is
// withheld.
struct UDisksAnswer {
  std::string errorName;
  std::string errorText;
  QVariantList values;
  bool withheld = false;
};

// A block object of the stand-in.
struct UDisksBlock {
  std::string name;   // "sdb"
  std::string drive;  // "D1"; empty for none
};
struct UDisksDrive {
  bool ejectable = false;
  bool canPowerOff = false;
};

// Stands in for UDisks2 on a private bus. Every answer waits for its turn in the main loop. Main
// thread.
class StandInUDisks : public QDBusVirtualObject {
 public:
  using Handler = std::function<UDisksAnswer(const UDisksCall&)>;

  explicit StandInUDisks(const QDBusConnection& connection);

  // What answers calls; success without a value by default.
  Handler handler;
  // What GetManagedObjects lists.
  std::vector<UDisksBlock> blocks;
  std::map<std::string, UDisksDrive> drives;
  std::vector<UDisksCall> calls;
  // The names of the members called, in order.
  std::vector<std::string> members() const;

  // UDisks2 dies.
  void vanish();

  static std::string drivePath(const std::string& drive);

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  UDisksAnswer answer(const UDisksCall& call);
  QVariantList objects() const;

  std::optional<QDBusConnection> connection_;
};

}  // namespace fillstation::test
