#pragma once

#include <sys/types.h>
#include <QDBusConnection>
#include <QString>
#include <QStringList>
#include <mutex>

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
  pid_t daemon_ = 0;
  QString address_;
  std::mutex lock_;
  QStringList connections_;
};

}  // namespace fillstation::test
