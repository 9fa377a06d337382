#include <sys/socket.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "ChildProcess.h"
#include "FileHandle.h"
#include "ScriptBox.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

// The check of an object's type opens a pipe, and reports a fault that is none when it can't.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kFilesOfSanitizer = 2;
#else
constexpr int kFilesOfSanitizer = 0;
#endif

// What becomes of one call in every situation, with the real polkit and pkexec. The window is
// tester's, who is no administrator, unless said otherwise.
class ScriptOutcomesTest : public ScriptBoxTest {
 protected:
  static AgentReply run(const std::string& user, const std::string& password,
                        const std::string& command = "touch /run/box/ran") {
    return runAs("tester", {user, password, command});
  }
  static AgentReply runAsBoss(const std::string& command) {
    return run("boss", kBossPassword, command);
  }
  // The outcome of a script for the port: its error number and message.
  static void expectScript(const std::string& user, const std::string& password, int number,
                           const std::string& message) {
    const auto reply = run("script", "",
                           "do shell script \"mkfs.fat -F32 /dev/null\" user name \"" + user +
                               "\" password \"" + password + "\" with administrator privileges");
    EXPECT_EQ(reply.kind, Kind::unavailable);
    EXPECT_EQ(reply.exitStatus, number);
    EXPECT_EQ(reply.err, message);
  }
  // What pkexec is replaced by.
  static void pretendPkexec(const std::string& script) {
    writeFile("/run/box/pretended", "#!/bin/sh\n" + script + "\n");
    shell("chmod +x /run/box/pretended; mount --bind /run/box/pretended /usr/bin/pkexec");
  }
  // Has a command of the shell change what the agents inherit.
  static void beforeAgents(const std::string& command) {
    shell("[ -e /run/box/real-agent ] || mv /run/box/agent /run/box/real-agent");
    writeFile("/run/box/agent", "#!/bin/sh\n" + command + "\nexec /run/box/real-agent\n");
    shell("chmod 755 /run/box/agent");
  }
  static void expectNothingRan() { EXPECT_FALSE(exists("/run/box/ran")); }
};

TEST_F(ScriptOutcomesTest, TheRightAdministratorsCommandRunsAsRoot) {
  const auto reply = runAsBoss("id -u; id -un; pwd; umask; echo to err >&2");
  EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
  EXPECT_EQ(reply.exitStatus, 0);
  EXPECT_EQ(reply.out, "0\nroot\n/root\n0022\n");
  EXPECT_EQ(reply.err, "to err\n");
}

TEST_F(ScriptOutcomesTest, TheWindowsOwnUserMayBeTheAdministrator) {
  const auto reply = runAs("boss", {"boss", kBossPassword, "id -u"});
  EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
  EXPECT_EQ(reply.out, "0\n");
}

TEST_F(ScriptOutcomesTest, AWrongPasswordIsRefused) {
  EXPECT_EQ(run("boss", "wrong").kind, Kind::wrongCredentials);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, AnEmptyPasswordIsRefused) {
  EXPECT_EQ(run("boss", "").kind, Kind::wrongCredentials);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, ALockedAccountIsRefused) {
  EXPECT_EQ(run("locked", "locked word").kind, Kind::wrongCredentials);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, AnUnknownUserIsToldApart) {
  EXPECT_EQ(run("nobody-of-that-name", "word").kind, Kind::unknownUser);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, AnEmptyUserNameIsUnknown) {
  EXPECT_EQ(run("", kBossPassword).kind, Kind::unknownUser);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, AUserWhoIsNoAdministratorIsToldApart) {
  EXPECT_EQ(run("plain", "plain word").kind, Kind::notAdministrator);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, RootsWindowIsCheckedLikeAnyOther) {
  EXPECT_EQ(runAs("root", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::wrongCredentials);
  EXPECT_EQ(runAs("root", {"plain", "plain word", "touch /run/box/ran"}).kind,
            Kind::notAdministrator);
  expectNothingRan();
  const auto reply = runAs("root", {"boss", kBossPassword, "id -u"});
  EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
  EXPECT_EQ(reply.out, "0\n");
}

TEST_F(ScriptOutcomesTest, RootsWindowNeedsAUserToBecome) {
  // Some systems make him up.
  shell("sed -i /^nobody:/d /etc/passwd; sed -i '/^passwd:/s/:.*/: files/' /etc/nsswitch.conf");
  const auto reply = runAs("root", {"boss", kBossPassword, "touch /run/box/ran"});
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "The agent program can't leave root's rights.");
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, TheWindowsMaskIsNotTheCommands) {
  beforeAgents("umask 077");
  EXPECT_EQ(runAsBoss("umask").out, "0022\n");
}

TEST_F(ScriptOutcomesTest, ARootShellThatNeverRunsHasNoCommand) {
  shell("cp -p /usr/bin/pkexec /run/box/pkexec");
  pretendPkexec("exec /run/box/pkexec --disable-internal-agent /bin/false");
  EXPECT_EQ(runAsBoss("true").kind, Kind::unavailable);
}

TEST_F(ScriptOutcomesTest, AShellThatGoesWhileTheCommandIsSentHasAStatusAllTheSame) {
  shell("cp -p /usr/bin/pkexec /run/box/pkexec");
  pretendPkexec(
      "exec /run/box/pkexec --disable-internal-agent /bin/sh -c "
      "\"echo 'fillstation: ready'; head -c 1 >/dev/null; exit 5\"");
  const auto reply = runAsBoss("true " + std::string(300000, 'x'));
  EXPECT_EQ(reply.kind, Kind::ended);
  EXPECT_EQ(reply.exitStatus, 5);
}

TEST_F(ScriptOutcomesTest, TheCommandsOwnExitStatusComesBack) {
  for (const int status : {3, 125, 126, 127, 255}) {
    const auto reply = runAsBoss("echo so; echo why >&2; exit " + std::to_string(status));
    EXPECT_EQ(reply.kind, Kind::ended) << status;
    EXPECT_EQ(reply.exitStatus, status);
    EXPECT_EQ(reply.out, "so\n");
    EXPECT_EQ(reply.err, "why\n");
  }
}

TEST_F(ScriptOutcomesTest, AKilledCommandHasTheNumberOfItsSignal) {
  const auto reply = runAsBoss("kill -KILL $$");
  EXPECT_EQ(reply.kind, Kind::ended);
  EXPECT_EQ(reply.exitStatus, 128 + 9);
}

TEST_F(ScriptOutcomesTest, TheCommandHasNoInputAndDiesOfABrokenPipe) {
  const auto reply = runAsBoss("cat; sh -c 'kill -PIPE $$'; echo $?");
  EXPECT_EQ(reply.out, "141\n");
}

TEST_F(ScriptOutcomesTest, ALongCommandAndALongOutputArriveWhole) {
  const std::string text(300000, 'x');
  const auto reply = runAsBoss("printf '%s' '" + text + "'; printf '%s' '" + text + "' >&2");
  EXPECT_EQ(reply.out, text);
  EXPECT_EQ(reply.err, text);
}

TEST_F(ScriptOutcomesTest, ACommandMayHoldAnyTextThatAShellTakes) {
  const auto reply = runAsBoss("echo 'Grüße \"und\" \\ $HOME'\n# comment");
  EXPECT_EQ(reply.out, "Grüße \"und\" \\ $HOME\n");
}

TEST_F(ScriptOutcomesTest, PasswordsWithUmlautsAndOfTheGreatestLengthWork) {
  EXPECT_EQ(run("second", "Grüße mit Umläuten", "id -u").out, "0\n");
  EXPECT_EQ(run("third", std::string(510, 'x'), "id -u").out, "0\n");
}

TEST_F(ScriptOutcomesTest, PasswordsThatTheCheckerCantTakeAreRefused) {
  // Each begins with the right one: cut short it would do.
  EXPECT_EQ(run("third", std::string(511, 'x')).kind, Kind::wrongCredentials);
  EXPECT_EQ(run("boss", kBossPassword + "\nmore").kind, Kind::wrongCredentials);
  EXPECT_EQ(run("boss", kBossPassword + "\n").kind, Kind::wrongCredentials);
  EXPECT_EQ(run("boss", kBossPassword + std::string("\0more", 5)).kind, Kind::wrongCredentials);
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, WithoutABusThereIsAnError) {
  shell("kill $(cat /run/box/bus.pid); rm -f /run/dbus/system_bus_socket");
  const auto reply = run("boss", kBossPassword);
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_TRUE(reply.err.starts_with("polkit can't be reached: Could not connect")) << reply.err;
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, WithoutPolkitThereIsAnError) {
  shell("mount --bind /dev/null /usr/lib/polkit-1/polkitd");
  const auto reply = run("boss", kBossPassword);
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_TRUE(reply.err.starts_with("polkit can't be reached: ")) << reply.err;
  EXPECT_GT(reply.err.size(), std::string("polkit can't be reached: ").size());
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, WithoutPkexecThereIsAnError) {
  writeFile("/run/box/none", "#!/run/box/nothing\n");
  shell("chmod +x /run/box/none; mount --bind /run/box/none /usr/bin/pkexec");
  const auto reply = run("boss", kBossPassword);
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "pkexec can't be started: No such file or directory");
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, WhatPkexecSaysOfItsOwnFailureComesBack) {
  writeFile("/etc/polkit-1/rules.d/00-no.rules",
            "polkit.addRule(function(action, subject) { return polkit.Result.NO; });\n");
  const auto reply = run("boss", kBossPassword);
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_NE(reply.err.find("Not authorized"), std::string::npos) << reply.err;
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, APkexecThatEndsAsOneThatWasDismissedIsCancelled) {
  pretendPkexec("echo dismissed >&2; exit 126");
  EXPECT_EQ(run("boss", kBossPassword).kind, Kind::cancelled);
  pretendPkexec("echo refused >&2; exit 127");
  const auto reply = run("boss", kBossPassword);
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "refused\n");
}

TEST_F(ScriptOutcomesTest, AnAgentWithoutFilesLeftToOpenSaysSo) {
  int told = 0;
  for (int limit = 4; limit < 24; ++limit) {
    beforeAgents("ulimit -n " + std::to_string(limit));
    told +=
        run("boss", kBossPassword).err == "pkexec can't be started: Too many open files" ? 1 : 0;
  }
  // Three pipes and three descriptors to hand over make nine, of which GLib may have failed before
  // for the first.
  EXPECT_GE(told, 9 - 1 - kFilesOfSanitizer);
}

TEST_F(ScriptOutcomesTest, AnAgentThatIsNotToldWhoAsksEndsAtOnce) {
  for (const bool namesUser : {false, true}) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const FileHandle ours(ends[0]);
    const FileHandle theirs(ends[1]);
    ChildSetup setup;
    setup.hand(theirs.get(), 0);
    pid_t agent = 0;
    ASSERT_EQ(setup.start({"/run/box/agent"}, agent), 0);
    EXPECT_TRUE(!namesUser || sendText(ours.get(), "boss"));
    ::shutdown(ours.get(), SHUT_WR);
    int status = 0;
    EXPECT_EQ(::waitpid(agent, &status, 0), agent);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 2);
  }
}

TEST_F(ScriptOutcomesTest, AScriptIsCheckedByThePrivilegedSideAfterTheAuthentication) {
  expectScript("boss", kBossPassword, -1004, "The device has gone.");
}

TEST_F(ScriptOutcomesTest, AScriptsReasonsAreToldApart) {
  expectScript("boss", "wrong", -1002, "The user name or the password is wrong.");
  expectScript("plain", "plain word", -1007, "That user is not an administrator.");
  expectScript("none", "word", -1006, "There is no user of that name.");
}

TEST_F(ScriptOutcomesTest, ThirtyTwoAtOnceAllSucceed) {
  const std::vector<Call> calls(32, {"boss", kBossPassword, "echo done"});
  for (const auto& reply : Window("tester", calls).replies()) {
    EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
    EXPECT_EQ(reply.out, "done\n");
  }
}

TEST_F(ScriptOutcomesTest, TwiceAsManyAtOnceAllSucceed) {
  const std::vector<Call> calls(64, {"boss", kBossPassword, "echo done"});
  for (const auto& reply : Window("tester", calls).replies()) {
    EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
    EXPECT_EQ(reply.out, "done\n");
  }
}

TEST_F(ScriptOutcomesTest, TwiceAsManyAtOnceAreAllRefused) {
  const std::vector<Call> calls(64, {"boss", "wrong", "touch /run/box/ran"});
  for (const auto& reply : Window("tester", calls).replies()) {
    EXPECT_EQ(reply.kind, Kind::wrongCredentials) << reply.err;
  }
  expectNothingRan();
}

}  // namespace
}  // namespace fillstation::test
