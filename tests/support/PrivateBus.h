#pragma once

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <mutex>
#include <string>

#include "TempFolder.h"

namespace fillstation::test {

// A D-Bus of the test's own, as it is until it is stopped. Main thread.
class PrivateBus {
 public:
  PrivateBus() { start(); }
  ~PrivateBus() {
    for (const QString& name : connections_) {
      QDBusConnection::disconnectFromBus(name);
    }
    stop();
  }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  const QString& address() const { return address_; }
  // A new connection of that name, closed by disconnect() or with the bus. Any thread.
  QDBusConnection connect(const QString& name) {
    {
      const std::scoped_lock guard(lock_);
      connections_.append(name);
    }
    return QDBusConnection::connectToBus(address_, name);
  }
  // Ends the whole bus; starts it again, without any client.
  void stop() {
    daemon_.kill();
    daemon_.waitForFinished(-1);
  }
  void start() {
    const std::string configuration =
        folder_.write("bus.conf", "<busconfig><listen>unix:dir=" + folder_.path() +
                                      "</listen><policy context='default'><allow user='*'/>"
                                      "<allow own='*'/><allow send_destination='*'/>"
                                      "<allow receive_sender='*'/></policy></busconfig>");
    daemon_.setStandardErrorFile(QProcess::nullDevice());
    // The bus ends with this process, after a time-out too.
    daemon_.start("setpriv",
                  {"--pdeathsig", "KILL", "dbus-daemon", "--nofork", "--nopidfile",
                   "--print-address", QString::fromStdString("--config-file=" + configuration)});
    // The bus prints its address when it is ready.
    EXPECT_TRUE(daemon_.waitForReadyRead(-1));
    address_ = QString::fromLatin1(daemon_.readLine()).trimmed();
  }

 private:
  TempFolder folder_;
  QProcess daemon_;
  QString address_;
  std::mutex lock_;
  QStringList connections_;
};

}  // namespace fillstation::test
