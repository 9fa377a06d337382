#include "UDisksClient.h"

#include <QDBusConnectionInterface>
#include <atomic>
#include <future>
#include <thread>

#include "LinuxRig.h"

namespace fillstation::test {

class UDisksClientTest : public UDisksTest {
 protected:
  // UDisks2 dies, and the bus knows it.
  void loseService() {
    udisks.vanish();
    const auto witness = dbus.connect("witness");
    runLoopUntil([&] {
      return !witness.interface()->isServiceRegistered("org.freedesktop.UDisks2").value();
    });
  }
  // The log's only line so far: UDisks2 can't be reached, with the reason.
  void expectLine(const std::string& why) const {
    const auto texts = log.texts();
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_TRUE(texts[0].starts_with("UDisks2 can't be reached: " + why)) << texts[0];
    EXPECT_TRUE(texts[0].ends_with("\n"));
  }

  const std::string kDBusError = "org.freedesktop.DBus.Error.";
};

TEST_F(UDisksClientTest, NoCallHasATimeOut) {
  const auto identity = plugIn("a");
  machine.mount(player().minor, "x");
  EXPECT_EQ(unmount(identity), "");
  machine.mount(player().minor, "x");
  // Up to here it was also about the connection itself.
  takeDBusTimeOuts();
  EXPECT_EQ(unmount(identity), "");
  EXPECT_EQ(mount(identity), "");
  EXPECT_EQ(eject(identity), "");
  // The number that libdbus takes for "never".
  EXPECT_EQ(takeDBusTimeOuts(), std::vector<int>(5, 0x7FFFFFFF));
}

TEST_F(UDisksClientTest, NothingIsEverAskedOfTheUser) {
  EXPECT_EQ(mount(plugIn("a")), "");
  const QVariantMap options{{"auth.no_user_interaction", true}};
  EXPECT_EQ(udisks.calls, std::vector<UDisksCall>({{"/org/freedesktop/UDisks2/block_devices/sdb",
                                                    "Filesystem.Mount", options}}));
}

TEST_F(UDisksClientTest, AMissingServiceIsADissenterAndALineAndIsAskedAgainWhenItIsBack) {
  const auto identity = plugIn("a");
  loseService();
  EXPECT_TRUE(mount(identity).starts_with(kDBusError + "ServiceUnknown: "));
  expectLine(kDBusError + "ServiceUnknown: ");
  FakeUDisks again(dbus.connect("fake again"));
  EXPECT_EQ(mount(identity), "");
  EXPECT_EQ(again.members(), Members({"Filesystem.Mount"}));
}

TEST_F(UDisksClientTest, ABusThatEndsMidRequestIsADissenterAndALineAndIsUsedAgainWhenItIsBack) {
  const auto identity = plugIn("a");
  const auto outcome = sendInVain(DiskRequest::mount, identity);
  dbus.stop();
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_NE(outcome->refused, "");
  expectLine("");
  EXPECT_TRUE(mount(identity).starts_with(kDBusError + "Disconnected: "));
  EXPECT_EQ(log.texts().size(), 2U);
  dbus.start();
  FakeUDisks again(dbus.connect("fake again"));
  EXPECT_EQ(mount(identity), "");
  EXPECT_EQ(again.members(), Members({"Filesystem.Mount"}));
}

TEST_F(UDisksClientTest, AReconnectionLeavesNoEarlierRequestWithoutAnEnd) {
  const auto identity = plugIn("a");
  const auto other = plugIn("b");
  const auto waiting = sendInVain(DiskRequest::mount, identity);
  dbus.stop();
  // Before the main loop can learn of it.
  while (QDBusConnection(QStringLiteral("fillstation-system")).isConnected()) {
    std::this_thread::yield();
  }
  int answers = 0;
  client.findDrive("sdb", [&](const auto*, const auto&) { ++answers; });
  EXPECT_NE(mount(other), "");
  runLoopUntil([&] { return waiting->completed && answers == 1; });
  EXPECT_NE(waiting->refused, "");
}

TEST_F(UDisksClientTest, WithoutABusTheAnswerIsAsynchronousToo) {
  dbus.stop();
  int answers = 0;
  client.findDrive("sdb", [&](const UDisksFailure* failure, const auto& drive) {
    ++answers;
    EXPECT_NE(failure, nullptr);
    EXPECT_FALSE(drive.has_value());
  });
  EXPECT_EQ(answers, 0);
  runLoopUntil([&] { return answers > 0; });
  runLoopDry();
  EXPECT_EQ(answers, 1);
  expectLine(kDBusError + "Disconnected: ");
}

TEST_F(UDisksClientTest, OneConnectionServesAllCallsAndEndsWithTheBus) {
  std::atomic<int> connections = 0;
  const auto connect = [&](const QString& name) {
    ++connections;
    return dbus.connect(name);
  };
  std::optional<SystemBus> counted(std::in_place, connect, mainThread, workers);
  EXPECT_EQ(connections, 0);
  int answers = 0;
  UDisksClient caller(*counted, log);
  for (int call = 0; call < 2; ++call) {
    caller.findDrive("sdb", [&](const UDisksFailure* failure, const auto& /*drive*/) {
      ++answers;
      EXPECT_EQ(failure, nullptr);
    });
  }
  runLoopUntil([&] { return answers == 2; });
  EXPECT_EQ(connections, 1);
  EXPECT_TRUE(QDBusConnection(QStringLiteral("fillstation-system")).isConnected());
  counted.reset();
  EXPECT_FALSE(QDBusConnection(QStringLiteral("fillstation-system")).isConnected());
}

TEST_F(UDisksClientTest, ABusThatNeverAnswersBlocksNothing) {
  std::promise<void> silence;
  SystemBus silent(
      [until = silence.get_future().share()](const QString& name) {
        until.wait();
        return QDBusConnection(name);
      },
      mainThread, workers);
  UDisksClient caller(silent, log);
  int answers = 0;
  caller.findDrive("sdb", [&](const auto*, const auto&) { ++answers; });
  runLoopDry();
  EXPECT_EQ(answers, 0);
  silence.set_value();
  runLoopUntil([&] { return answers == 1; });
}

TEST_F(UDisksClientTest, WhatWasAskedOfABusThatIsNoLongerWantedIsDropped) {
  std::promise<void> silence;
  std::optional<SystemBus> silent(
      std::in_place,
      [until = silence.get_future().share(), this](const QString& name) {
        until.wait();
        return dbus.connect(name);
      },
      mainThread, workers);
  int answers = 0;
  UDisksClient caller(*silent, log);
  caller.findDrive("sdb", [&](const auto*, const auto&) { ++answers; });
  silent.reset();
  silence.set_value();
  workers.joinAll();
  runLoopDry();
  EXPECT_EQ(answers, 0);
  EXPECT_EQ(udisks.calls, std::vector<UDisksCall>());
}

TEST_F(UDisksClientTest, OnlyAnUnknownErrorIsLoggedAsItCame) {
  const auto identity = plugIn("a");
  answer({error(kBusy)});
  EXPECT_EQ(mount(identity), std::string(kBusy) + ": So it is.");
  EXPECT_EQ(log.texts(), Members());
  answer({error("com.example.Odd")});
  EXPECT_EQ(mount(identity), "com.example.Odd: So it is.");
  EXPECT_EQ(log.texts(), Members({"UDisks2 failed: com.example.Odd: So it is.\n"}));
}

TEST(UDisksErrorTest, EveryNameHasItsMeaning) {
  const std::map<std::string, UDisksError> meanings{
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
      {"org.freedesktop.DBus.Error.Spawn.ChildExited", UDisksError::serviceGone},
      {"org.freedesktop.DBus.Error.Timeout", UDisksError::unknown},
      {"org.freedesktop.UDisks2.Error", UDisksError::unknown},
      {"", UDisksError::unknown}};
  for (const auto& [name, meaning] : meanings) {
    EXPECT_EQ(udisksErrorOf(name), meaning) << name;
  }
}

}  // namespace fillstation::test
