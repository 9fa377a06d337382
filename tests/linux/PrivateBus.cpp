#include "PrivateBus.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>
#include <utility>

#include "ChildSetup.h"
#include "FileHandle.h"

namespace fillstation::test {

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
  // The daemon says its address when it is ready.
  int ready[2]{};
  EXPECT_EQ(::pipe2(ready, O_CLOEXEC), 0);
  const FileHandle from(ready[0]);
  FileHandle to(ready[1]);
  ChildSetup setup;
  setup.hand(to.get(), STDOUT_FILENO);
  setup.discard(STDERR_FILENO);
  EXPECT_EQ(setup.start({"dbus-daemon", "--nofork", "--nopidfile", "--print-address",
                         "--config-file=" + configuration},
                        daemon_),
            0);
  to = FileHandle();
  std::array<char, 512> address{};
  EXPECT_GT(::read(from.get(), address.data(), address.size() - 1), 0);
  address_ = QString::fromLatin1(address.data()).trimmed();
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
  if (daemon_ != 0) {
    ::kill(daemon_, SIGKILL);
    ::waitpid(std::exchange(daemon_, 0), nullptr, 0);
  }
}

}  // namespace fillstation::test
