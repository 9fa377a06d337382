#include "LogindWakefulness.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <array>

#include "FileHandle.h"
#include "LinuxRig.h"

namespace fillstation::test {

// A fake login manager: it gives out one end of a pipe, and sees at the other end whether the first
// is still open.
class FakeLogind : public QDBusVirtualObject {
 public:
  explicit FakeLogind(QDBusConnection connection) {
    connection.registerVirtualObject("/org/freedesktop/login1", this);
    connection.registerService("org.freedesktop.login1");
  }

  QString introspect(const QString& /*path*/) const override { return {}; }
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
    called = message.interface() + QLatin1Char('.') + message.member();
    arguments = message.arguments();
    if (refuses) {
      connection.send(message.createErrorReply("org.freedesktop.DBus.Error.AccessDenied", "No."));
      return true;
    }
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    watched = FileHandle(ends[0]);
    const FileHandle given(ends[1]);
    connection.send(message.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(given.get()))));
    return true;
  }
  // True when the last copy of the end that was given out is closed.
  bool isReleased() const {
    char byte = 0;
    ::fcntl(watched.get(), F_SETFL, O_NONBLOCK);
    return ::read(watched.get(), &byte, 1) == 0;
  }

  bool refuses = false;
  QString called;
  QVariantList arguments;
  FileHandle watched;
};

class LogindWakefulnessTest : public ::testing::Test, protected LinuxRig {
 protected:
  // Long enough for every message on its way.
  static void giveTime() {
    for (int turn = 0; turn < 200; ++turn) {
      QCoreApplication::processEvents();
    }
  }

  FakeLogind logind{dbus.connect("logind")};
  LogindWakefulness wakefulness{systemBus, log};
};

TEST_F(LogindWakefulnessTest, SleepAndTheLidAreBlockedUntilThePointerIsReleased) {
  auto awake = wakefulness.keepAwake("Players are being filled");
  runLoopUntil([&] { return static_cast<bool>(logind.watched); });
  EXPECT_EQ(logind.called, QStringLiteral("org.freedesktop.login1.Manager.Inhibit"));
  EXPECT_EQ(logind.arguments, (QVariantList{"sleep:handle-lid-switch", "Fillstation",
                                            "Players are being filled", "block"}));
  giveTime();
  EXPECT_FALSE(logind.isReleased());
  awake = nullptr;
  runLoopUntil([&] { return logind.isReleased(); });
  EXPECT_TRUE(log.texts().empty());
}

TEST_F(LogindWakefulnessTest, OneThatWasGivenUpBeforeTheAnswerIsReleasedAndTheNextIsHeld) {
  wakefulness.keepAwake("first");
  runLoopUntil([&] { return logind.watched && logind.isReleased(); });
  logind.watched = FileHandle();
  const auto awake = wakefulness.keepAwake("second");
  runLoopUntil([&] { return static_cast<bool>(logind.watched); });
  giveTime();
  EXPECT_FALSE(logind.isReleased());
  EXPECT_TRUE(log.texts().empty());
}

TEST_F(LogindWakefulnessTest, ARefusalAndAMachineWithoutABusAreALine) {
  const std::string line = "The machine may fall asleep during the run: ";
  logind.refuses = true;
  const auto awake = wakefulness.keepAwake("Players are being filled");
  runLoopUntil([&] { return !log.texts().empty(); });
  EXPECT_EQ(log.texts(), std::vector<std::string>{line + "No."});
  SystemBus none([](const QString& name) { return QDBusConnection(name); }, mainThread, workers);
  LogindWakefulness alone(none, log);
  const auto another = alone.keepAwake("Players are being filled");
  runLoopUntil([&] { return log.texts().size() == 2; });
  EXPECT_TRUE(log.texts().back().starts_with(line));
}

}  // namespace fillstation::test
