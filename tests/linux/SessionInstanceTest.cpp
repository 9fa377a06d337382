#include "SessionInstance.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <filesystem>
#include <future>

#include "PrivateBus.h"

namespace fillstation::test {

class SessionInstanceTest : public ::testing::Test {
 protected:
  // A program that starts in this session.
  std::unique_ptr<SessionInstance> program(const QString& connection) {
    return std::make_unique<SessionInstance>(
        [&](const QString& /*name*/) { return bus.connect(connection); });
  }
  // Whether it continues; messages of others are handled meanwhile.
  static bool claims(SessionInstance& instance) {
    auto claim = std::async(std::launch::async, [&instance] { return instance.claim(); });
    while (claim.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
      QCoreApplication::processEvents();
    }
    return claim.get();
  }

  PrivateBus bus;
};

TEST_F(SessionInstanceTest, TheFirstContinuesAndTheSecondRaisesItWithTheDesktopsPermission) {
  const auto first = program("first");
  EXPECT_TRUE(claims(*first));
  // While it has no window.
  EXPECT_FALSE(claims(*program("early")));
  std::vector<QByteArray> tokens;
  first->onRaise([&tokens] { tokens.push_back(qgetenv(SessionInstance::kToken)); });
  EXPECT_FALSE(claims(*program("second")));
  qputenv("XDG_ACTIVATION_TOKEN", "leave-17");
  EXPECT_FALSE(claims(*program("third")));
  EXPECT_EQ(tokens, (std::vector<QByteArray>{"", "leave-17"}));
  qunsetenv(SessionInstance::kToken);
}

TEST_F(SessionInstanceTest, OneThatDoesNotKnowTheCallIsNoReasonToEnd) {
  auto stranger = bus.connect("stranger");
  ASSERT_TRUE(stranger.registerService("example.fillstation.fillstation"));
  EXPECT_TRUE(claims(*program("second")));
}

TEST_F(SessionInstanceTest, OtherCallsAreNotKnown) {
  const auto first = program("first");
  int raised = 0;
  first->onRaise([&raised] { ++raised; });
  EXPECT_TRUE(claims(*first));
  auto caller = bus.connect("caller");
  for (const auto& [interface, member] :
       {std::pair("org.freedesktop.Application", "Open"), std::pair("org.else", "Activate")}) {
    auto call = caller.asyncCall(QDBusMessage::createMethodCall(
        "example.fillstation.fillstation", "/example/fillstation/fillstation", interface, member));
    while (!call.isFinished()) {
      QCoreApplication::processEvents();
    }
    EXPECT_TRUE(call.isError()) << member;
  }
  EXPECT_EQ(raised, 0);
}

TEST_F(SessionInstanceTest, TheDesktopRaisesItAsItRaisesEveryApplication) {
  const auto first = program("first");
  QByteArray token;
  first->onRaise([&token] { token = qgetenv("XDG_ACTIVATION_TOKEN"); });
  EXPECT_TRUE(claims(*first));
  auto message = QDBusMessage::createMethodCall("example.fillstation.fillstation",
                                                "/example/fillstation/fillstation",
                                                "org.freedesktop.Application", "Activate");
  message << QVariantMap{{"activation-token", "leave-18"}};
  auto desktop = bus.connect("desktop");
  auto call = desktop.asyncCall(message);
  while (!call.isFinished()) {
    QCoreApplication::processEvents();
  }
  EXPECT_FALSE(call.isError());
  EXPECT_EQ(token, "leave-18");
  qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(SessionInstanceTest, WithoutASessionBusEveryStartIsTheFirst) {
  SessionInstance first([](const QString& name) { return QDBusConnection(name); });
  EXPECT_TRUE(first.claim());
}

TEST_F(SessionInstanceTest, NoBusIsStartedWhereThereIsNone) {
  qunsetenv("DBUS_SESSION_BUS_ADDRESS");
  qunsetenv("XDG_RUNTIME_DIR");
  EXPECT_FALSE(SessionInstance::connect("none").isConnected());
  qputenv("DBUS_SESSION_BUS_ADDRESS", bus.address().toUtf8());
  EXPECT_TRUE(SessionInstance::connect("by-address").isConnected());
  QDBusConnection::disconnectFromBus("by-address");
  // Where the system's user manager puts it.
  qunsetenv("DBUS_SESSION_BUS_ADDRESS");
  const std::string socket = bus.address().section('=', 1).section(',', 0, 0).toStdString();
  const auto folder = std::filesystem::path(socket).parent_path();
  std::filesystem::create_hard_link(socket, folder / "bus");
  qputenv("XDG_RUNTIME_DIR", folder.c_str());
  EXPECT_TRUE(SessionInstance::connect("by-folder").isConnected());
  QDBusConnection::disconnectFromBus("by-folder");
  qunsetenv("XDG_RUNTIME_DIR");
}

}  // namespace fillstation::test
