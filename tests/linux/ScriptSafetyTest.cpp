#include <string>
#include <vector>

#include "ScriptBox.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

// What must not happen while a call is under way, with the real polkit and pkexec.
class ScriptSafetyTest : public ScriptBoxTest {};

TEST_F(ScriptSafetyTest, NothingOfTheWindowsEnvironmentReachesTheAgentsChildren) {
  slowPam();
  const auto window = startCall(bossCall("env"));
  const auto pkexecs = processes("/usr/bin/pkexec");
  ASSERT_EQ(pkexecs.size(), 1U);
  const std::string environment = read("/proc/" + std::to_string(pkexecs.front()) + "/environ");
  EXPECT_EQ(environment.find("SECRET_OF_WINDOW"), std::string::npos) << environment;
  EXPECT_NE(environment.find("LANG=C.UTF-8"), std::string::npos) << environment;
  writeFile("/run/box/go", "");
  EXPECT_EQ(window->replies().front().exitStatus, 0);
}

TEST_F(ScriptSafetyTest, TheAgentOfRootsWindowCantBeReadByOthersOfItsUser) {
  slowPam();
  const auto window = startCall(bossCall("true"), "root");
  const auto agents = processes("/run/box/agent");
  ASSERT_EQ(agents.size(), 1U);
  shell("! setpriv --reuid=nobody --regid=nogroup --clear-groups cat /proc/" +
        std::to_string(agents.front()) + "/environ 2>/dev/null");
  writeFile("/run/box/go", "");
  EXPECT_EQ(window->replies().front().kind, Kind::ended);
}

TEST_F(ScriptSafetyTest, AWindowThatEndsCancelsTheAuthentication) {
  slowPam();
  const auto window = startCall();
  window->stop();
  EXPECT_EQ(window->replies().front().kind, Kind::cancelled);
  writeFile("/run/box/go", "");
  awaitEnd({"pkexec"});
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, AnAuthorityThatGoesDuringTheAuthenticationRunsNothing) {
  slowPam();
  const auto window = startCall();
  shell("kill -KILL $(pidof polkitd)");
  const auto reply = window->replies().front();
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_NE(reply.err, "");
  writeFile("/run/box/go", "");
  awaitEnd({"pkexec"});
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, AWindowKilledWhileTheSessionIsOpenedRunsNothing) {
  slowPam("session");
  const auto window = startCall();
  window->kill();
  awaitEnd({"/run/box/driver"});
  writeFile("/run/box/go", "");
  awaitEnd({"/run/box/agent", "pkexec"});
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, APasswordThatIsNotAskedForHasNotBeenChecked) {
  setPam("auth sufficient pam_permit.so");
  EXPECT_EQ(runAs("tester", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::notChecked);
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, ARuleThatLetsEverybodyPassDoesNotReplaceThePassword) {
  writeFile("/etc/polkit-1/rules.d/00-yes.rules",
            "polkit.addRule(function(action, subject) { return polkit.Result.YES; });\n");
  EXPECT_EQ(runAs("tester", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::notChecked);
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, ASystemThatAsksForMoreOrForNothingIsToldApart) {
  setPam("auth required pam_unix.so\nauth optional pam_ftp.so");
  EXPECT_EQ(runAs("tester", bossCall()).kind, Kind::needsMore);
  setPam("auth required pam_deny.so");
  EXPECT_EQ(runAs("tester", bossCall()).kind, Kind::notChecked);
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, NothingIsLeftBehindAfterTheCalls) {
  const std::vector<Call> calls{bossCall("true"), {"boss", "wrong", "true"}, {"none", "", "true"}};
  Window("tester", calls).replies();
  awaitEnd({"/run/box/agent"});
  EXPECT_EQ(processesWith("pkexec"), 0);
}

}  // namespace
}  // namespace fillstation::test
