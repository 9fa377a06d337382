#pragma once

#include "ContractTest.h"

namespace fillstation::contract {

class ScriptRunnerContract : public WatchedContract {
 protected:
  static constexpr std::size_t kWiped = 40960;

  // A player that is ready for a command, with marks on its medium.
  void prepare() {
    identity = plugIn("a");
    EXPECT_TRUE(succeeds(DiskRequest::unmount, identity));
    backEnd->writeHead("a", std::string(kWiped + 100, 'm'));
  }

  // Expects a refusal with a reason, and an unchanged medium.
  void expectRefused(const std::string& source, const DiskIdentity& target) {
    const ScriptOutcome outcome = backEnd->scriptRunner().run(source, target);
    EXPECT_FALSE(outcome.result);
    EXPECT_NE(outcome.errorNumber.value_or(0), 0);
    EXPECT_FALSE(outcome.errorMessage.value_or("").empty());
    EXPECT_EQ(backEnd->head("a", kWiped + 100), std::string(kWiped + 100, 'm'));
  }

  std::string script(const std::string& command) {
    return scriptFor(command, backEnd->userName(), backEnd->password());
  }

  DiskIdentity identity;
};

TEST_P(ScriptRunnerContract, TheWipeZeroesTheHeadAndNothingElse) {
  prepare();
  const ScriptOutcome outcome = runAsAdministrator(wipeCommand(identity.node), identity);
  EXPECT_TRUE(outcome.result);
  EXPECT_FALSE(outcome.errorNumber);
  EXPECT_FALSE(outcome.errorMessage);
  EXPECT_EQ(backEnd->head("a", kWiped + 100), std::string(kWiped, '\0') + std::string(100, 'm'));
  EXPECT_EQ(backEnd->mediumSize("a"), 64 * 1024 * 1024);
  EXPECT_FALSE(succeeds(DiskRequest::mount, identity));
}

TEST_P(ScriptRunnerContract, TheFormatMakesAFreshFileSystemThatIsKnownOnceItIsMounted) {
  prepare();
  EXPECT_TRUE(runAsAdministrator(wipeCommand(identity.node), identity).result);
  EXPECT_TRUE(runAsAdministrator(formatCommand(identity.node), identity).result);
  EXPECT_TRUE(backEnd->isSound("a"));
  EXPECT_EQ(backEnd->content("a"), std::vector<OnMedium>());
  EXPECT_EQ(backEnd->mediumSize("a"), 64 * 1024 * 1024);
  EXPECT_EQ(volumeName(identity), std::nullopt);
  EXPECT_EQ(mountPath(identity), std::nullopt);
  EXPECT_TRUE(succeeds(DiskRequest::mount, identity));
  EXPECT_EQ(volumeName(identity), "NO NAME");
  EXPECT_TRUE(mountPath(identity));
}

TEST_P(ScriptRunnerContract, AWrongNameOrPasswordIsRefused) {
  prepare();
  const std::string command = wipeCommand(identity.node);
  expectRefused(scriptFor(command, backEnd->userName(), "wrong"), identity);
  expectRefused(scriptFor(command, "nobody of that name", backEnd->password()), identity);
  expectRefused(scriptFor(command, backEnd->userName(), ""), identity);
}

TEST_P(ScriptRunnerContract, ATextThatIsNotOneCommandIsRefused) {
  prepare();
  const std::string good = script(wipeCommand(identity.node));
  expectRefused("", identity);
  expectRefused(good + " ", identity);
  expectRefused(good + "\n" + good, identity);
  expectRefused(scriptFor(wipeCommand(identity.node), backEnd->userName(), "a\"b"), identity);
}

TEST_P(ScriptRunnerContract, AnyOtherCommandIsRefused) {
  prepare();
  const std::string& node = identity.node;
  for (const std::string& command :
       {std::string("true"), "dd if=/dev/zero of=" + node, wipeCommand(node) + "0",
        wipeCommand(node) + "; true", "mkfs.fat " + node, formatCommand(node) + " -n X",
        "sh -c 'dd if=/dev/zero of=" + node + "'"}) {
    expectRefused(script(command), identity);
  }
}

TEST_P(ScriptRunnerContract, ACommandForAnotherDiskIsRefused) {
  prepare();
  const DiskIdentity other = plugInMounted("b");
  EXPECT_TRUE(succeeds(DiskRequest::unmount, other));
  expectRefused(script(wipeCommand(identity.node)), other);
  expectRefused(script(wipeCommand(other.node)), identity);
  expectRefused(script(wipeCommand(identity.node)), {identity.node, other.usbHandle});
  expectRefused(script(wipeCommand(identity.node)), {identity.node, identity.usbHandle + 9});
  EXPECT_TRUE(backEnd->isSound("b"));
}

TEST_P(ScriptRunnerContract, AMountedDiskIsRefused) {
  prepare();
  EXPECT_TRUE(runAsAdministrator(formatCommand(identity.node), identity).result);
  EXPECT_TRUE(succeeds(DiskRequest::mount, identity));
  const std::string before = backEnd->head("a", kWiped);
  EXPECT_FALSE(runAsAdministrator(wipeCommand(identity.node), identity).result);
  EXPECT_FALSE(runAsAdministrator(formatCommand(identity.node), identity).result);
  EXPECT_EQ(backEnd->head("a", kWiped), before);
}

TEST_P(ScriptRunnerContract, ADiskOfAnotherVendorIsRefused) {
  PlayerWish wish;
  wish.vendor = "OTHER";
  wish.blank = true;  // so that nothing has to be unmounted
  identity = plugIn("a", wish);
  backEnd->writeHead("a", std::string(kWiped + 100, 'm'));
  expectRefused(script(wipeCommand(identity.node)), identity);
  expectRefused(script(formatCommand(identity.node)), identity);
}

TEST_P(ScriptRunnerContract, APlayerThatHasGoneIsRefused) {
  prepare();
  backEnd->unplug("a");
  expectRefused(script(wipeCommand(identity.node)), identity);
}

TEST_P(ScriptRunnerContract, APlayerThatCameBackIsAnotherOne) {
  prepare();
  pullOut("a");
  const DiskIdentity again = plugInAgain("a");
  EXPECT_TRUE(succeeds(DiskRequest::unmount, again));
  EXPECT_EQ(again.node, identity.node);
  expectRefused(script(wipeCommand(identity.node)), identity);
}

TEST_P(ScriptRunnerContract, AnEjectedPlayerIsRefused) {
  prepare();
  EXPECT_TRUE(succeeds(DiskRequest::eject, identity));
  expectRefused(script(wipeCommand(identity.node)), identity);
}

TEST_P(ScriptRunnerContract, SeveralCommandsRunAtOnce) {
  std::vector<DiskIdentity> identities;
  for (const std::string name : {"a", "b", "c", "d"}) {
    identities.push_back(plugIn(name));
    EXPECT_TRUE(succeeds(DiskRequest::unmount, identities.back()));
  }
  std::vector<std::thread> threads;
  std::vector<ScriptOutcome> outcomes(identities.size());
  for (std::size_t at = 0; at < identities.size(); ++at) {
    threads.emplace_back([&, at] {
      outcomes[at] = runAsAdministrator(formatCommand(identities[at].node), identities[at]);
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  for (const auto& outcome : outcomes) {
    EXPECT_TRUE(outcome.result) << outcome.errorMessage.value_or("");
  }
}

}  // namespace fillstation::contract
