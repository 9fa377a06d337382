#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "ScriptBox.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

// Requests of the authority, or its helper, to an agent at the wrong time or in the wrong way.
class ScriptAuthorityTest : public ScriptBoxTest {
 protected:
  // Calls a method of every connection's agent in the authority's name; returns the answers,
  // without the errors of connections that are no agents.
  static std::string callAgents(const std::string& method) {
    shell(
        "for name in $(gdbus call --system --dest org.freedesktop.DBus --object-path / --method "
        "org.freedesktop.DBus.ListNames | grep -o ':1[.][0-9]*'); do setpriv --reuid=polkitd "
        "--regid=nogroup --clear-groups gdbus call --system --dest $name --object-path "
        "/org/freedesktop/PolicyKit1/AuthenticationAgent --method "
        "org.freedesktop.PolicyKit1.AuthenticationAgent." +
        method + " 2>&1; done | grep -v UnknownMethod >/run/box/answers; true");
    return read("/run/box/answers");
  }
  // A request like the authority's, sent before pkexec's own; returns the result of pkexec's. Uses
  // the right process numbers unless others are given.
  static Kind kindAfter(const std::string& caller, const std::string& subject,
                        const std::string& identities) {
    shell("rm -f /run/box/asked /run/box/go");
    const auto window = startCall();
    const auto answer =
        callBegin(caller.empty() ? number("/run/box/caller") : caller,
                  subject.empty() ? number("/run/box/subject") : subject, identities);
    EXPECT_NE(answer.find("Error.Failed: Refused"), std::string::npos) << answer;
    writeFile("/run/box/go", "");
    return window->replies().front().kind;
  }
  static std::string number(const std::string& path) {
    const std::string text = read(path);
    return text.substr(0, text.find('\n'));
  }
  static std::string callBegin(const std::string& caller, const std::string& subject,
                               const std::string& identities) {
    return callAgents("BeginAuthentication action message icon \"{'polkit.caller-pid': '" + caller +
                      "', 'polkit.subject-pid': '" + subject + "'}\" cookie \"" + identities +
                      "\"");
  }
  // Puts a program before pkexec that waits for /run/box/go.
  static void slowPkexec() {
    replaceTool("/usr/bin/pkexec",
                "echo $$ >/run/box/caller; echo $PPID >/run/box/subject; touch /run/box/asked\n"
                "until [ -e /run/box/go ]; do sleep 0.02; done\n"
                "exec /run/box/real-pkexec \"$@\"");
    shell(
        "touch /run/box/caller /run/box/subject; "
        "chmod 666 /run/box/caller /run/box/subject; chmod 777 /run/box");
  }
  // Boss's number, as one of that kind.
  static std::string boss(const std::string& kind) {
    shell("id -u boss >/run/box/user");
    return "[('" + kind + "', {'uid': <uint32 " + number("/run/box/user") + ">})]";
  }
  // Whether the one agent has a thread of that name.
  static bool hasThread(const std::string& name) {
    return std::system(("cat /proc/$(pidof -s agent)/task/*/comm 2>/dev/null | grep -qx " + name)
                           .c_str()) == 0;
  }
};

TEST_F(ScriptAuthorityTest, ACancelledAuthenticationIsCancelled) {
  slowPam();
  const auto window = startCall();
  EXPECT_NE(callAgents("CancelAuthentication cookie").find("()\n"), std::string::npos);
  EXPECT_EQ(window->replies().front().kind, Kind::cancelled);
  expectNothingRan();
}

TEST_F(ScriptAuthorityTest, ACallThatIsCancelledWhileItsSessionIsOpenedRunsNothing) {
  slowPam("session");
  const auto window = startCall();
  EXPECT_NE(callAgents("CancelAuthentication cookie").find("()\n"), std::string::npos);
  writeFile("/run/box/go", "");
  EXPECT_EQ(window->replies().front().kind, Kind::cancelled);
  expectNothingRan();
}

TEST_F(ScriptAuthorityTest, ACommandThatIsRunningIsNotCancelled) {
  Window window("tester", {{"boss", bossPassword(),
                            "touch /run/box/ran; until [ -e /run/box/go ]; do sleep 0.02; done; "
                            "echo finished; exit 3"}});
  awaitFile("/run/box/ran");
  EXPECT_NE(callAgents("CancelAuthentication cookie").find("()\n"), std::string::npos);
  writeFile("/run/box/go", "");
  const auto reply = window.replies().front();
  EXPECT_EQ(reply.kind, Kind::ended);
  EXPECT_EQ(reply.out, "finished\n");
  EXPECT_EQ(reply.exitStatus, 3);
}

TEST_F(ScriptAuthorityTest, ThereIsOneAuthenticationPerAgent) {
  slowPam();
  const auto window = startCall();
  const std::string answer = callBegin("1", "1", "@a(sa{sv}) []");
  EXPECT_NE(answer.find("Error.Failed: There is one authentication per process."),
            std::string::npos)
      << answer;
  writeFile("/run/box/go", "");
  EXPECT_EQ(window->replies().front().kind, Kind::ended);
}

TEST_F(ScriptAuthorityTest, ARequestThatIsNotForOurCallOrNotForTheUserIsRefused) {
  slowPkexec();
  EXPECT_EQ(kindAfter("1", "", boss("unix-user")), Kind::notChecked);
  EXPECT_EQ(kindAfter("", "1", boss("unix-user")), Kind::notChecked);
  EXPECT_EQ(kindAfter("", "", boss("unix-group")), Kind::notAdministrator);
  expectNothingRan();
}

TEST_F(ScriptAuthorityTest, AWindowThatEndsBeforeTheRequestCancelsItAndNoPasswordIsChecked) {
  slowPkexec();
  setPam("auth required pam_exec.so quiet seteuid /usr/bin/touch /run/box/ran");
  const auto window = startCall();
  window->stop();
  // Until the agent has noticed.
  shell("sleep 0.5");
  writeFile("/run/box/go", "");
  EXPECT_EQ(window->replies().front().kind, Kind::cancelled);
  expectNothingRan();
}

TEST_F(ScriptAuthorityTest, AWindowThatEndsBeforeTheAgentIsKnownStartsNoPkexec) {
  replaceTool("/usr/bin/pkexec", "touch /run/box/ran");
  shell(
      "chmod 777 /run/box;"
      "gdbus introspect --system --dest org.freedesktop.PolicyKit1 "
      "--object-path /org/freedesktop/PolicyKit1/Authority >/dev/null; "
      "kill -STOP $(pidof polkitd)");
  Window window("tester", {bossCall()});
  await([] { return hasThread("gdbus"); }, "the agent is on the bus");
  window.stop();
  // Until the agent has noticed.
  shell("sleep 1; kill -CONT $(pidof polkitd)");
  EXPECT_EQ(window.replies().front().kind, Kind::cancelled);
  expectNothingRan();
}

TEST_F(ScriptAuthorityTest, OnlyAServedHelperThatSaidNothingIsAskedOnceMore) {
  const std::string counted = "pam_exec.so quiet seteuid /run/box/count";
  const std::string unix = "\nauth required pam_unix.so";
  const std::string text = "pam_echo.so file=/run/box/text\n";
  const std::string error = "pam_nologin.so file=/run/box/text";
  writeFile("/run/box/text", "not today\n");
  struct Row {
    bool isServed;
    std::string count;  // how the helper's question ends, after it was counted
    std::string pam;
    std::string password;
    Kind outcome;
    long checks;
  };
  const Row rows[] = {
      {false, "exit 1", "auth requisite " + counted, bossPassword(), Kind::notChecked, 1},
      {true, "exit 1", "auth requisite " + counted, bossPassword(), Kind::notChecked, 2},
      {true, "[ \"$(wc -l </run/box/checks)\" -gt 1 ]", "auth requisite " + counted + unix,
       bossPassword(), Kind::ended, 2},
      {true, "exit 1", "auth optional " + text + "auth requisite " + counted, bossPassword(),
       Kind::notChecked, 1},
      {true, "exit 0", "auth required " + counted + "\nauth requisite " + error, bossPassword(),
       Kind::notChecked, 1},
      {true, "exit 0", "auth required " + counted + unix, "wrong", Kind::wrongCredentials, 1},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.pam + "; " + row.count);
    if (row.isServed) {
      std::filesystem::create_directories("/run/polkit");
      writeFile("/run/polkit/agent-helper.socket", "");
    }
    writeFile("/run/box/checks", "");
    writeScript("/run/box/count", "echo x >>/run/box/checks\n" + row.count);
    setPam(row.pam);
    EXPECT_EQ(runAs("tester", {"boss", row.password, "true"}).kind, row.outcome);
    const std::string checks = read("/run/box/checks");
    EXPECT_EQ(std::count(checks.begin(), checks.end(), '\n'), row.checks);
  }
}

// Events that must not happen during a call, with the real polkit and pkexec.
class ScriptSafetyTest : public ScriptBoxTest {};

TEST_F(ScriptSafetyTest, NothingOfTheWindowsEnvironmentReachesTheAgentsChildren) {
  slowPam();
  const auto window = startCall(bossCall("env"));
  const auto pkexecs = processes("/usr/bin/pkexec");
  ASSERT_EQ(pkexecs.size(), 1U);
  const std::string environment = read("/proc/" + std::to_string(pkexecs.front()) + "/environ");
  const std::string end(1, '\0');
  EXPECT_EQ(environment, "PATH=/usr/sbin:/usr/bin:/sbin:/bin" + end + "LANG=C.UTF-8" + end);
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

TEST_F(ScriptSafetyTest, AnAuthorityThatEndsDuringTheAuthenticationRunsNothing) {
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

TEST_F(ScriptSafetyTest, ARuleThatAllowsEverybodyDoesNotReplaceThePassword) {
  writeFile("/etc/polkit-1/rules.d/00-yes.rules",
            "polkit.addRule(function(action, subject) { return polkit.Result.YES; });\n");
  EXPECT_EQ(runAs("tester", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::notChecked);
  expectNothingRan();
}

TEST_F(ScriptSafetyTest, ASystemThatAsksForMoreOrForNothingHasItsOwnError) {
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
  EXPECT_TRUE(processes("pkexec", true).empty());
}

}  // namespace
}  // namespace fillstation::test
