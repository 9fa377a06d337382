#include <filesystem>
#include <string>
#include <vector>

#include "ScriptBox.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

// What must not happen while a call is under way, with the real polkit and pkexec.
class ScriptSafetyTest : public ScriptBoxTest {
 protected:
  static Call bossCall(const std::string& command) { return {"boss", kBossPassword, command}; }
  // No process of the box shows the text to others.
  static void expectHidden(const std::string& text) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      for (const char* name : {"cmdline", "environ", "comm"}) {
        EXPECT_EQ(read(entry.path() / name).find(text), std::string::npos)
            << entry.path() / name << ": " << read(entry.path() / "cmdline");
      }
    }
  }
};

TEST_F(ScriptSafetyTest, NoProcessShowsPasswordOrCommand) {
  slowPam();
  Window window("tester", {bossCall("true unheard-of; touch /run/box/began\n"
                                    "until [ -e /run/box/end ]; do sleep 0.02; done")});
  awaitFile("/run/box/asked");
  EXPECT_GE(processesWith("pkexec"), 1);
  expectHidden(kBossPassword);
  expectHidden("unheard-of");
  writeFile("/run/box/go", "");
  awaitFile("/run/box/began");
  EXPECT_GE(processesWith("fillstation: ready"), 1);
  expectHidden(kBossPassword);
  expectHidden("unheard-of");
  expectHidden("SECRET_OF_ROOT");
  writeFile("/run/box/end", "");
  EXPECT_EQ(window.replies().front().exitStatus, 0);
}

TEST_F(ScriptSafetyTest, NothingOfTheWindowsEnvironmentReachesTheAgentsChildren) {
  slowPam();
  Window window("tester", {bossCall("env")});
  awaitFile("/run/box/asked");
  int found = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    if (read(entry.path() / "cmdline").starts_with("/usr/bin/pkexec")) {
      ++found;
      const std::string environment = read(entry.path() / "environ");
      EXPECT_EQ(environment.find("SECRET_OF_WINDOW"), std::string::npos) << environment;
      EXPECT_NE(environment.find("LANG=C.UTF-8"), std::string::npos) << environment;
    }
  }
  EXPECT_EQ(found, 1);
  writeFile("/run/box/go", "");
  EXPECT_EQ(window.replies().front().exitStatus, 0);
}

// Starts a call from the user's window, and has a process of the agent's user try to read it.
class ScriptSecrecyTest : public ScriptSafetyTest {
 protected:
  static void expectUnreadable(const std::string& window, const std::string& agent) {
    slowPam();
    Window caller(window, {bossCall("true")});
    awaitFile("/run/box/asked");
    int found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
      if (read(entry.path() / "cmdline") == std::string("/run/box/agent\0", 15)) {
        ++found;
        shell("! setpriv --reuid=" + agent + " --regid=nogroup --clear-groups cat " +
              (entry.path() / "environ").string() + " 2>/dev/null");
      }
    }
    EXPECT_EQ(found, 1);
    writeFile("/run/box/go", "");
    EXPECT_EQ(caller.replies().front().kind, Kind::ended);
  }
};

TEST_F(ScriptSecrecyTest, TheAgentCantBeReadByTheUsersOtherPrograms) {
  expectUnreadable("tester", "tester");
}

TEST_F(ScriptSecrecyTest, TheAgentOfRootsWindowCantBeReadByOthersOfItsUser) {
  expectUnreadable("root", "nobody");
}

TEST_F(ScriptSafetyTest, AWindowThatEndsCancelsTheAuthentication) {
  slowPam();
  Window window("tester", {bossCall("touch /run/box/ran")});
  awaitFile("/run/box/asked");
  window.stop();
  EXPECT_EQ(window.replies().front().kind, Kind::cancelled);
  writeFile("/run/box/go", "");
  await([] { return processesWith("pkexec") == 0; }, "pkexec ends");
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, AnAuthorityThatGoesDuringTheAuthenticationRunsNothing) {
  slowPam();
  Window window("tester", {bossCall("touch /run/box/ran")});
  awaitFile("/run/box/asked");
  shell("kill -KILL $(pidof polkitd)");
  const auto reply = window.replies().front();
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_NE(reply.err, "");
  writeFile("/run/box/go", "");
  await([] { return processesWith("pkexec") == 0; }, "pkexec ends");
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, AWindowKilledDuringTheAuthenticationRunsNothing) {
  slowPam();
  Window window("tester", {bossCall("touch /run/box/ran")});
  awaitFile("/run/box/asked");
  window.kill();
  await([] { return processesWith("/run/box/agent") == 0 && processesWith("pkexec") == 0; },
        "the agent and pkexec end");
  writeFile("/run/box/go", "");
  await([] { return processesWith("polkit-agent-helper") == 0; }, "the helper ends");
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, AWindowKilledWhileTheSessionIsOpenedRunsNothing) {
  slowPam("session");
  Window window("tester", {bossCall("touch /run/box/ran")});
  awaitFile("/run/box/asked");
  window.kill();
  await([] { return processesWith("/run/box/driver") == 0; }, "the window ends");
  writeFile("/run/box/go", "");
  await([] { return processesWith("/run/box/agent") == 0 && processesWith("pkexec") == 0; },
        "the agent and pkexec end");
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, ACommandGoesOnWhenTheWindowIsKilled) {
  Window window("tester", {bossCall("touch /run/box/began\n"
                                    "until [ -e /run/box/end ]; do sleep 0.02; done\n"
                                    "echo finished; touch /run/box/ran")});
  awaitFile("/run/box/began");
  window.kill();
  await([] { return processesWith("/run/box/driver") == 0; }, "the window ends");
  writeFile("/run/box/end", "");
  awaitFile("/run/box/ran");
  await([] { return processesWith("/run/box/agent") == 0; }, "the agent ends");
}

TEST_F(ScriptSafetyTest, APasswordThatIsNotAskedForHasNotBeenChecked) {
  setPam("auth sufficient pam_permit.so");
  EXPECT_EQ(runAs("tester", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::notChecked);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, ARuleThatLetsEverybodyPassDoesNotReplaceThePassword) {
  writeFile("/etc/polkit-1/rules.d/00-yes.rules",
            "polkit.addRule(function(action, subject) { return polkit.Result.YES; });\n");
  EXPECT_EQ(runAs("tester", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::notChecked);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, ASystemThatAsksForMoreThanAPasswordIsToldApart) {
  setPam("auth required pam_unix.so\nauth optional pam_ftp.so");
  EXPECT_EQ(runAs("tester", bossCall("touch /run/box/ran")).kind, Kind::needsMore);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, ASystemThatFailsWithoutAQuestionIsToldApart) {
  setPam("auth required pam_deny.so");
  EXPECT_EQ(runAs("tester", bossCall("touch /run/box/ran")).kind, Kind::notChecked);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptSafetyTest, NothingIsLeftBehindAfterTheCalls) {
  const std::vector<Call> calls{bossCall("true"), {"boss", "wrong", "true"}, {"none", "", "true"}};
  Window("tester", calls).replies();
  await([] { return processesWith("/run/box/agent") == 0; }, "the agents end");
  EXPECT_EQ(processesWith("pkexec"), 0);
}

}  // namespace
}  // namespace fillstation::test
