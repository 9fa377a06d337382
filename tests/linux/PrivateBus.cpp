#include "PrivateBus.h"

#include <gtest/gtest.h>

namespace fillstation::test {

PrivateBus::PrivateBus() {
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
  daemon_.start("dbus-daemon", {"--nofork", "--nopidfile", "--print-address",
                                "--config-file=" + QString::fromStdString(configuration)});
  while (!daemon_.canReadLine() && daemon_.waitForReadyRead()) {
  }
  address_ = QString::fromLatin1(daemon_.readLine().trimmed());
  EXPECT_FALSE(address_.isEmpty());
}

PrivateBus::~PrivateBus() {
  for (const QString& name : connections_) {
    QDBusConnection::disconnectFromBus(name);
  }
  stop();
}

QDBusConnection PrivateBus::connect(const QString& name) {
  connections_.append(name);
  return QDBusConnection::connectToBus(address_, name);
}

void PrivateBus::stop() {
  daemon_.kill();
  daemon_.waitForFinished();
}

}  // namespace fillstation::test
