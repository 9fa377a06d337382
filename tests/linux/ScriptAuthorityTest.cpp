#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "ScriptBox.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

// What the authority, or its helper, may ask of an agent at the wrong time or in the wrong way.
class ScriptAuthorityTest : public ScriptBoxTest {
 protected:
  static Call call() { return {"boss", kBossPassword, "touch /run/box/ran"}; }

  // Calls a method of every connection's agent in the authority's name; the answers, the errors of
  // those that are no agents left out.
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
  // A request as the authority would make it.
  static std::string callBegin(const std::string& caller, const std::string& subject,
                               const std::string& identities) {
    return callAgents("BeginAuthentication action message icon \"{'polkit.caller-pid': '" + caller +
                      "', 'polkit.subject-pid': '" + subject + "'}\" cookie \"" + identities +
                      "\"");
  }
  // Puts a program before pkexec that waits for /run/box/go.
  static void slowPkexec() {
    shell("cp -p /usr/bin/pkexec /run/box/pkexec");
    writeFile("/run/box/wait",
              "#!/bin/sh\necho $$ >/run/box/caller\necho $PPID >/run/box/subject\n"
              "touch /run/box/asked\nuntil [ -e /run/box/go ]; do sleep 0.02; done\n"
              "exec /run/box/pkexec \"$@\"\n");
    shell(
        "chmod +x /run/box/wait; touch /run/box/caller /run/box/subject; "
        "chmod 666 /run/box/caller /run/box/subject; chmod 777 /run/box; "
        "mount --bind /run/box/wait /usr/bin/pkexec");
  }
  static std::string number(const std::string& path) {
    const std::string text = read(path);
    return text.substr(0, text.find('\n'));
  }
  static std::string numberOf(const std::string& user) {
    shell("id -u " + user + " >/run/box/user");
    return number("/run/box/user");
  }
  static std::string identity(const std::string& kind, const std::string& user) {
    return "[('" + kind + "', {'uid': <uint32 " + user + ">})]";
  }
  // The helper's question is counted before it comes.
  static void countChecks(const std::string& then) {
    writeFile("/run/box/count", "#!/bin/sh\necho x >>/run/box/checks\n" + then + "\n");
    shell("chmod +x /run/box/count");
  }
  static long checks() {
    const std::string text = read("/run/box/checks");
    return std::count(text.begin(), text.end(), '\n');
  }
  // Whether the one agent has a thread of that name.
  static bool hasThread(const std::string& name) {
    return std::system(("cat /proc/$(pidof -s agent)/task/*/comm 2>/dev/null | grep -qx " + name)
                           .c_str()) == 0;
  }
  static void pretendServedHelper() {
    std::filesystem::create_directories("/run/polkit");
    writeFile("/run/polkit/agent-helper.socket", "");
  }
};

TEST_F(ScriptAuthorityTest, ACancelledAuthenticationIsCancelled) {
  slowPam();
  Window window("tester", {call()});
  awaitFile("/run/box/asked");
  EXPECT_NE(callAgents("CancelAuthentication cookie").find("()\n"), std::string::npos);
  EXPECT_EQ(window.replies().front().kind, Kind::cancelled);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptAuthorityTest, ACommandThatIsRunningIsNotCancelled) {
  Window window("tester", {{"boss", kBossPassword,
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
  Window window("tester", {call()});
  awaitFile("/run/box/asked");
  const std::string answer = callBegin("1", "1", "@a(sa{sv}) []");
  EXPECT_NE(answer.find("Error.Failed: There is one authentication per process."),
            std::string::npos)
      << answer;
  writeFile("/run/box/go", "");
  EXPECT_EQ(window.replies().front().kind, Kind::ended);
}

TEST_F(ScriptAuthorityTest, ARequestOfAnotherCallerIsRefused) {
  slowPkexec();
  Window window("tester", {call()});
  awaitFile("/run/box/asked");
  const std::string answer =
      callBegin("1", number("/run/box/subject"), identity("unix-user", numberOf("boss")));
  EXPECT_NE(answer.find("Error.Failed: Refused"), std::string::npos) << answer;
  writeFile("/run/box/go", "");
  EXPECT_EQ(window.replies().front().kind, Kind::notChecked);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptAuthorityTest, ARequestForAnotherProcessIsRefused) {
  slowPkexec();
  Window window("tester", {call()});
  awaitFile("/run/box/asked");
  const std::string answer =
      callBegin(number("/run/box/caller"), "1", identity("unix-user", numberOf("boss")));
  EXPECT_NE(answer.find("Error.Failed: Refused"), std::string::npos) << answer;
  writeFile("/run/box/go", "");
  EXPECT_EQ(window.replies().front().kind, Kind::notChecked);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptAuthorityTest, AGroupOfTheUsersNumberIsNotTheUser) {
  slowPkexec();
  Window window("tester", {call()});
  awaitFile("/run/box/asked");
  callBegin(number("/run/box/caller"), number("/run/box/subject"),
            identity("unix-group", numberOf("boss")));
  writeFile("/run/box/go", "");
  EXPECT_EQ(window.replies().front().kind, Kind::notAdministrator);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptAuthorityTest, AWindowThatEndsBeforeTheRequestCancelsIt) {
  slowPkexec();
  Window window("tester", {call()});
  awaitFile("/run/box/asked");
  window.stop();
  // Until the agent has noticed.
  shell("sleep 0.5");
  writeFile("/run/box/go", "");
  EXPECT_EQ(window.replies().front().kind, Kind::cancelled);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptAuthorityTest, AWindowThatEndsBeforeTheAgentIsKnownStartsNoPkexec) {
  writeFile("/run/box/started", "#!/bin/sh\ntouch /run/box/ran\n");
  shell(
      "chmod +x /run/box/started; mount --bind /run/box/started /usr/bin/pkexec; chmod 777 "
      "/run/box;"
      "gdbus introspect --system --dest org.freedesktop.PolicyKit1 "
      "--object-path /org/freedesktop/PolicyKit1/Authority >/dev/null; "
      "kill -STOP $(pidof polkitd)");
  Window window("tester", {call()});
  await([] { return hasThread("gdbus"); }, "the agent is on the bus");
  window.stop();
  // Until the agent has noticed.
  shell("sleep 1; kill -CONT $(pidof polkitd)");
  EXPECT_EQ(window.replies().front().kind, Kind::cancelled);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptAuthorityTest, AHelperThatDidNotAnswerIsAskedOnceMoreWhereItIsServed) {
  pretendServedHelper();
  countChecks("[ \"$(wc -l </run/box/checks)\" -gt 1 ]");
  setPam("auth requisite pam_exec.so quiet seteuid /run/box/count\nauth required pam_unix.so");
  EXPECT_EQ(runAs("tester", call()).kind, Kind::ended);
  EXPECT_EQ(checks(), 2);
}

TEST_F(ScriptAuthorityTest, AHelperThatNeverAnswersIsAskedTwice) {
  pretendServedHelper();
  countChecks("exit 1");
  setPam("auth requisite pam_exec.so quiet seteuid /run/box/count");
  EXPECT_EQ(runAs("tester", call()).kind, Kind::notChecked);
  EXPECT_EQ(checks(), 2);
}

TEST_F(ScriptAuthorityTest, AHelperThatIsNotServedIsAskedOnce) {
  countChecks("exit 1");
  setPam("auth requisite pam_exec.so quiet seteuid /run/box/count");
  EXPECT_EQ(runAs("tester", call()).kind, Kind::notChecked);
  EXPECT_EQ(checks(), 1);
}

TEST_F(ScriptAuthorityTest, AHelperThatSaidSomethingIsAskedOnce) {
  pretendServedHelper();
  countChecks("exit 1");
  writeFile("/run/box/text", "not today\n");
  setPam(
      "auth optional pam_echo.so file=/run/box/text\n"
      "auth requisite pam_exec.so quiet seteuid /run/box/count");
  EXPECT_EQ(runAs("tester", call()).kind, Kind::notChecked);
  EXPECT_EQ(checks(), 1);
}

TEST_F(ScriptAuthorityTest, AHelperThatToldAnErrorIsAskedOnce) {
  pretendServedHelper();
  countChecks("exit 0");
  writeFile("/run/box/text", "not today\n");
  setPam(
      "auth required pam_exec.so quiet seteuid /run/box/count\n"
      "auth requisite pam_nologin.so file=/run/box/text");
  EXPECT_EQ(runAs("tester", call()).kind, Kind::notChecked);
  EXPECT_EQ(checks(), 1);
}

TEST_F(ScriptAuthorityTest, AWrongPasswordIsAskedForOnceWhereTheHelperIsServed) {
  pretendServedHelper();
  countChecks("exit 0");
  setPam("auth required pam_exec.so quiet seteuid /run/box/count\nauth required pam_unix.so");
  EXPECT_EQ(runAs("tester", {"boss", "wrong", "true"}).kind, Kind::wrongCredentials);
  EXPECT_EQ(checks(), 1);
}

}  // namespace
}  // namespace fillstation::test
