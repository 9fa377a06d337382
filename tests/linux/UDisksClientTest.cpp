#include "UDisksClient.h"

#include <QDBusConnectionInterface>
#include <atomic>
#include <future>
#include <thread>

#include "DBusTimeOuts.h"
#include "UDisksTest.h"

namespace fillstation::test {

class UDisksClientTest : public UDisksTest {
 protected:
  // UDisks2 dies, and the bus knows it.
  void loseService() {
    rig.udisks.vanish();
    const auto witness = rig.bus.connect("witness");
    runLoopUntil([&] {
      return !witness.interface()->isServiceRegistered("org.freedesktop.UDisks2").value();
    });
  }
};

TEST_F(UDisksClientTest, NoCallHasATimeOut) {
  const auto identity = rig.plugIn("a");
  rig.machine.mount(player().minor, "x");
  EXPECT_EQ(ask(&DiskSession::unmount, identity), "");
  rig.machine.mount(player().minor, "x");
  // Up to here it was also about the connection itself.
  takeDBusTimeOuts();
  EXPECT_EQ(ask(&DiskSession::unmount, identity), "");
  EXPECT_EQ(ask(&DiskSession::mount, identity), "");
  EXPECT_EQ(ask(&DiskSession::eject, identity), "");
  // The number that libdbus takes for "never".
  EXPECT_EQ(takeDBusTimeOuts(), std::vector<int>(5, 0x7FFFFFFF));
}

TEST_F(UDisksClientTest, ASilentServiceIsWaitedFor) {
  const auto identity = rig.plugIn("a");
  const auto other = rig.plugIn("b");
  answer({silence()});
  const auto outcome = send(&DiskSession::mount, identity);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  EXPECT_EQ(ask(&DiskSession::mount, other), "");
  EXPECT_FALSE(outcome->completed);
}

TEST_F(UDisksClientTest, NothingIsEverAskedOfTheUser) {
  const auto identity = rig.plugIn("a");
  EXPECT_EQ(ask(&DiskSession::mount, identity), "");
  const QVariantMap options{{"auth.no_user_interaction", true}};
  EXPECT_EQ(rig.udisks.calls,
            std::vector<UDisksCall>(
                {{"/org/freedesktop/UDisks2/block_devices/sdb", "Filesystem.Mount", options}}));
}

TEST_F(UDisksClientTest, AMissingServiceIsADissenterAndALine) {
  const auto identity = rig.plugIn("a");
  loseService();
  EXPECT_TRUE(ask(&DiskSession::mount, identity)
                  .starts_with("org.freedesktop.DBus.Error.ServiceUnknown: "));
  const auto texts = rig.log.texts();
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_TRUE(texts[0].starts_with(
      "UDisks2 can't be reached: org.freedesktop.DBus.Error.ServiceUnknown: "));
  EXPECT_TRUE(texts[0].ends_with("\n"));
}

TEST_F(UDisksClientTest, AServiceThatVanishesMidRequestIsADissenterAndALine) {
  const auto identity = rig.plugIn("a");
  answer({silence()});
  const auto outcome = send(&DiskSession::mount, identity);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  rig.udisks.vanish();
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_TRUE(outcome->refused.starts_with("org.freedesktop.DBus.Error.NoReply: "));
  const auto texts = rig.log.texts();
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_EQ(texts[0], "UDisks2 can't be reached: " + outcome->refused + "\n");
}

TEST_F(UDisksClientTest, AServiceThatComesBackIsAskedAgain) {
  const auto identity = rig.plugIn("a");
  loseService();
  EXPECT_NE(ask(&DiskSession::mount, identity), "");
  StandInUDisks again(rig.bus.connect("stand-in again"));
  EXPECT_EQ(ask(&DiskSession::mount, identity), "");
  EXPECT_EQ(again.members(), Members({"Filesystem.Mount"}));
}

TEST_F(UDisksClientTest, ABusThatGoesMidRequestIsADissenterAndALine) {
  const auto identity = rig.plugIn("a");
  answer({silence()});
  const auto outcome = send(&DiskSession::mount, identity);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  rig.bus.stop();
  runLoopUntil([&] { return outcome->completed; });
  EXPECT_NE(outcome->refused, "");
  EXPECT_EQ(rig.log.texts().size(), 1U);
  EXPECT_NE(ask(&DiskSession::mount, identity), "");
  EXPECT_EQ(rig.log.texts().size(), 2U);
}

TEST_F(UDisksClientTest, ABusThatComesBackIsUsedAgain) {
  const auto identity = rig.plugIn("a");
  EXPECT_EQ(ask(&DiskSession::mount, identity), "");
  rig.bus.stop();
  EXPECT_NE(ask(&DiskSession::unmount, identity), "");
  rig.bus.start();
  StandInUDisks again(rig.bus.connect("stand-in again"));
  again.handler = [this](const UDisksCall& call) { return rig.obey(call); };
  EXPECT_EQ(ask(&DiskSession::unmount, identity), "");
  EXPECT_EQ(again.members(), Members({"Filesystem.Unmount"}));
}

TEST_F(UDisksClientTest, AReconnectionLeavesNoEarlierRequestWithoutAnEnd) {
  const auto identity = rig.plugIn("a");
  const auto other = rig.plugIn("b");
  answer({silence()});
  const auto waiting = send(&DiskSession::mount, identity);
  runLoopUntil([&] { return rig.udisks.calls.size() == 1; });
  rig.bus.stop();
  // Before the main loop can learn of it.
  while (QDBusConnection(QStringLiteral("fillstation-system")).isConnected()) {
    std::this_thread::yield();
  }
  int answers = 0;
  rig.client.getObjects([&](const auto*, const auto&) { ++answers; });
  EXPECT_NE(ask(&DiskSession::mount, other), "");
  runLoopUntil([&] { return waiting->completed && answers == 1; });
  EXPECT_NE(waiting->refused, "");
}

TEST_F(UDisksClientTest, WithoutABusARequestIsADissenterAndALine) {
  const auto identity = rig.plugIn("a");
  rig.bus.stop();
  for (std::size_t request = 1; request <= 2; ++request) {
    EXPECT_TRUE(ask(&DiskSession::mount, identity)
                    .starts_with("org.freedesktop.DBus.Error.Disconnected: "));
    const auto texts = rig.log.texts();
    ASSERT_EQ(texts.size(), request);
    EXPECT_TRUE(texts.back().starts_with(
        "UDisks2 can't be reached: org.freedesktop.DBus.Error.Disconnected: "));
  }
}

TEST_F(UDisksClientTest, WithoutABusTheAnswerIsAsynchronousToo) {
  rig.bus.stop();
  int answers = 0;
  rig.client.getObjects([&](const UDisksFailure* failure, const QVariantList& values) {
    ++answers;
    EXPECT_NE(failure, nullptr);
    EXPECT_TRUE(values.isEmpty());
  });
  EXPECT_EQ(answers, 0);
  runLoopUntil([&] { return answers > 0; });
  runLoopDry();
  EXPECT_EQ(answers, 1);
}

TEST_F(UDisksClientTest, OneConnectionServesAllCallsAndEndsWithTheBus) {
  std::atomic<int> connections = 0;
  const auto connect = [&](const QString& name) {
    ++connections;
    return rig.bus.connect(name);
  };
  std::optional<SystemBus> counted(std::in_place, connect, rig.mainThread, rig.workers);
  EXPECT_EQ(connections, 0);
  int answers = 0;
  UDisksClient client(*counted, rig.log);
  for (int call = 0; call < 2; ++call) {
    client.getObjects([&](const UDisksFailure* failure, const QVariantList& /*values*/) {
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

TEST_F(UDisksClientTest, ABusThatNeverAnswersBlocksNobody) {
  std::promise<void> silence;
  SystemBus silent(
      [until = silence.get_future().share()](const QString& name) {
        until.wait();
        return QDBusConnection(name);
      },
      rig.mainThread, rig.workers);
  UDisksClient client(silent, rig.log);
  int answers = 0;
  client.getObjects([&](const auto*, const auto&) { ++answers; });
  runLoopDry();
  EXPECT_EQ(answers, 0);
  silence.set_value();
  runLoopUntil([&] { return answers == 1; });
}

TEST_F(UDisksClientTest, AnUnknownErrorIsLoggedAsItCame) {
  const auto identity = rig.plugIn("a");
  answer({error("com.example.Odd")});
  EXPECT_EQ(ask(&DiskSession::mount, identity), "com.example.Odd: So it is.");
  EXPECT_EQ(rig.log.texts(), Members({"UDisks2 failed: com.example.Odd: So it is.\n"}));
}

TEST_F(UDisksClientTest, AKnownErrorIsNotLogged) {
  const auto identity = rig.plugIn("a");
  answer({error(kBusy)});
  EXPECT_EQ(ask(&DiskSession::mount, identity), std::string(kBusy) + ": So it is.");
  EXPECT_EQ(rig.log.texts(), Members());
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
