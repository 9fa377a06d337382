#include <sys/socket.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "ChildProcess.h"
#include "FileHandle.h"
#include "PolkitScriptRunner.h"
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
  static AgentReply runAsBoss(const std::string& command = "touch /run/box/ran") {
    return runAs("tester", bossCall(command));
  }
  static void pretendPkexec(const std::string& script) { replaceTool("/usr/bin/pkexec", script); }
  // Has a command of the shell change what the agents inherit.
  static void beforeAgents(const std::string& command) {
    shell("[ -e /run/box/real-agent ] || mv /run/box/agent /run/box/real-agent");
    writeScript("/run/box/agent", command + "\nexec /run/box/real-agent");
  }
  // Boss's call says why it can't run; the system may say more.
  static void expectUnavailable(const std::string& why) {
    const auto reply = runAsBoss();
    EXPECT_EQ(reply.kind, Kind::unavailable);
    EXPECT_TRUE(reply.err.starts_with(why)) << reply.err;
    EXPECT_NE(reply.err, "polkit can't be reached: ");
    expectNothingRan();
  }
};

TEST_F(ScriptOutcomesTest, TheRightAdministratorsCommandRunsAsRootWhoeverTheWindowsUserIs) {
  for (const char* user : {"tester", "boss"}) {
    const auto reply = runAs(user, bossCall("id -u; id -un; pwd; umask; echo to err >&2"));
    EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
    EXPECT_EQ(reply.exitStatus, 0);
    EXPECT_EQ(reply.out, "0\nroot\n/root\n0022\n");
    EXPECT_EQ(reply.err, "to err\n");
  }
}

TEST_F(ScriptOutcomesTest, RootsWindowIsCheckedLikeAnyOther) {
  EXPECT_EQ(runAs("root", {"boss", "wrong", "touch /run/box/ran"}).kind, Kind::wrongCredentials);
  EXPECT_EQ(runAs("root", {"plain", "plain word", "touch /run/box/ran"}).kind,
            Kind::notAdministrator);
  expectNothingRan();
  const auto reply = runAs("root", bossCall("id -u"));
  EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
  EXPECT_EQ(reply.out, "0\n");
}

TEST_F(ScriptOutcomesTest, RootsWindowNeedsAUserToBecome) {
  // Some systems make him up.
  shell("sed -i /^nobody:/d /etc/passwd; sed -i '/^passwd:/s/:.*/: files/' /etc/nsswitch.conf");
  const auto reply = runAs("root", bossCall());
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "The agent program can't leave root's rights.");
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, TheWindowsMaskIsNotTheCommands) {
  beforeAgents("umask 077");
  EXPECT_EQ(runAsBoss("umask").out, "0022\n");
}

TEST_F(ScriptOutcomesTest, ARootShellThatNeverRunsHasNoCommand) {
  pretendPkexec("exec /run/box/real-pkexec --disable-internal-agent /bin/false");
  EXPECT_EQ(runAsBoss("true").kind, Kind::unavailable);
}

TEST_F(ScriptOutcomesTest, AShellThatGoesWhileTheCommandIsSentHasAStatusAllTheSame) {
  pretendPkexec(
      "exec /run/box/real-pkexec --disable-internal-agent /bin/sh -c "
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
  const auto killed = runAsBoss("kill -KILL $$");
  EXPECT_EQ(killed.kind, Kind::ended);
  EXPECT_EQ(killed.exitStatus, 128 + 9);
}

TEST_F(ScriptOutcomesTest, TheCommandHasNoInputAndDiesOfABrokenPipe) {
  const auto reply = runAsBoss("cat; sh -c 'kill -PIPE $$'; echo $?");
  EXPECT_EQ(reply.out, "141\n");
}

TEST_F(ScriptOutcomesTest, ACommandMayHoldAnyTextAndBothMayBeLong) {
  const std::string text(300000, 'x');
  const auto reply = runAsBoss("printf '%s' '" + text + "'; printf '%s' '" + text + "' >&2");
  EXPECT_EQ(reply.out, text);
  EXPECT_EQ(reply.err, text);
  EXPECT_EQ(runAsBoss("echo 'Grüße \"und\" \\ $HOME'\n# comment").out, "Grüße \"und\" \\ $HOME\n");
}

TEST_F(ScriptOutcomesTest, WithoutPkexecPolkitOrBusThereIsAnError) {
  writeFile("/run/box/none", "#!/run/box/nothing\n");
  shell("chmod +x /run/box/none; mount --bind /run/box/none /usr/bin/pkexec");
  expectUnavailable("pkexec can't be started: No such file or directory");
  shell(
      "umount /usr/bin/pkexec; kill -KILL $(pidof polkitd); "
      "mount --bind /dev/null /usr/lib/polkit-1/polkitd");
  expectUnavailable("polkit can't be reached: ");
  shell("kill $(cat /run/box/bus.pid); rm -f /run/dbus/system_bus_socket");
  expectUnavailable("polkit can't be reached: Could not connect");
}

TEST_F(ScriptOutcomesTest, WhatPkexecSaysOfItsOwnFailureComesBack) {
  writeFile("/etc/polkit-1/rules.d/00-no.rules",
            "polkit.addRule(function(action, subject) { return polkit.Result.NO; });\n");
  const auto reply = runAsBoss();
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_NE(reply.err.find("Not authorized"), std::string::npos) << reply.err;
  expectNothingRan();
}

TEST_F(ScriptOutcomesTest, APkexecThatEndsAsOneThatWasDismissedIsCancelled) {
  pretendPkexec("echo dismissed >&2; exit 126");
  EXPECT_EQ(runAsBoss().kind, Kind::cancelled);
  pretendPkexec("echo refused >&2; exit 127");
  const auto reply = runAsBoss();
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "refused\n");
}

TEST_F(ScriptOutcomesTest, AnAgentWithoutFilesLeftToOpenSaysSo) {
  int told = 0;
  for (int limit = 4; limit < 24; ++limit) {
    beforeAgents("ulimit -n " + std::to_string(limit));
    told += runAsBoss().err == "pkexec can't be started: Too many open files" ? 1 : 0;
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

TEST_F(ScriptOutcomesTest, TwiceAsManyAsPolkitServesAtOnceAllHaveTheirOutcome) {
  const std::vector<Call> right(64, bossCall("echo done"));
  for (const auto& reply : Window("tester", right).replies()) {
    EXPECT_EQ(reply.kind, Kind::ended) << reply.err;
    EXPECT_EQ(reply.out, "done\n");
  }
  const std::vector<Call> wrong(64, {"boss", "wrong", "touch /run/box/ran"});
  for (const auto& reply : Window("tester", wrong).replies()) {
    EXPECT_EQ(reply.kind, Kind::wrongCredentials) << reply.err;
  }
  expectNothingRan();
}

// What a person may type into the two fields, and what becomes of it with the real polkit: it is
// taken as it is or refused, and nothing of it is ever interpreted.
class ScriptCredentialsTest : public ScriptBoxTest {
 protected:
  struct Row {
    std::string user;
    std::string password;
    std::int64_t number;
  };
  // The device is none: after the credentials were accepted, that is the refusal.
  static constexpr std::int64_t kAccepted = ScriptError::kNotThePlayer;

  // The text that a task makes of them, run for a device.
  static Call call(const Row& row) {
    return {"script", "",
            "do shell script \"mkfs.fat -F32 /dev/null\" user name \"" + row.user +
                "\" password \"" + row.password + "\" with administrator privileges"};
  }
  static void expectRows(const std::vector<Row>& rows) {
    std::vector<Call> calls;
    for (const auto& row : rows) {
      calls.push_back(call(row));
    }
    const auto replies = Window("tester", calls).replies();
    ASSERT_EQ(replies.size(), rows.size());
    for (std::size_t at = 0; at < rows.size(); ++at) {
      EXPECT_EQ(replies[at].exitStatus, rows[at].number)
          << "[" << rows[at].user.substr(0, 80) << "] [" << rows[at].password.substr(0, 80)
          << "]: " << replies[at].err;
    }
    expectNothingRan();
    EXPECT_FALSE(exists("/root/ran"));
  }
};

const std::string kRun = "touch /run/box/ran";

TEST_F(ScriptCredentialsTest, TheRightOnesAreAcceptedWhateverTheyHold) {
  expectRows({{"boss", bossPassword(), kAccepted},
              {"second", "Grüße mit Umläuten", kAccepted},
              {"third", std::string(510, 'x'), kAccepted}});
}

TEST_F(ScriptCredentialsTest, APasswordIsTakenAsItIsOrRefused) {
  constexpr auto kWrong = ScriptError::kWrongCredentials;
  constexpr auto kNone = kScriptSyntaxErrorNumber;
  expectRows({
      {"boss", "", kWrong},
      {"locked", "locked word", kWrong},
      {"boss", bossPassword().substr(1), kWrong},
      {"boss", bossPassword() + " ", kWrong},
      {"boss", bossPassword() + "\n", kWrong},
      {"boss", "\n" + bossPassword(), kWrong},
      {"boss", bossPassword() + "\r", kWrong},
      {"boss", bossPassword() + std::string("\0more", 5), kWrong},
      {"boss", "$(" + kRun + ")", kWrong},
      {"boss", "`" + kRun + "`", kWrong},
      {"boss", "; " + kRun + " #", kWrong},
      {"boss", "' ; " + kRun + " '", kWrong},
      {"boss", "%s%n%@", kWrong},
      {"boss",
       "Gr\xFC\xDF"
       "e",
       kWrong},
      {"second", "Gru\u0308\u00DFe mit Umla\u0308uten", kWrong},  // the same to the eye
      {"third", std::string(511, 'x'), kWrong},
      {"third", std::string(509, 'x'), kWrong},
      {"boss", std::string(1 << 20, 'x'), kWrong},
      {"boss", "\"", kNone},
      {"boss", "\\", kNone},
      {"boss", bossPassword() + "\" with administrator privileges", kNone},
      {"boss", "\" password \"" + bossPassword(), kNone},
      {"boss", "\\\" & \"" + kRun, kNone},
  });
}

TEST_F(ScriptCredentialsTest, AUserNameIsTakenAsItIsOrRefused) {
  constexpr auto kUnknown = ScriptError::kUnknownUser;
  constexpr auto kNone = kScriptSyntaxErrorNumber;
  const std::string& word = bossPassword();
  expectRows({
      {"", word, kUnknown},
      {"boss ", word, kUnknown},
      {" boss", word, kUnknown},
      {"BOSS", word, kUnknown},
      {"boss\n", word, kUnknown},
      {"boss\nsecond", word, kUnknown},
      {std::string("boss\0", 5), word, kUnknown},
      {std::string("boss\0second", 11), word, kUnknown},
      {"bo\u0455s", word, kUnknown},
      {"b\xF6ss", word, kUnknown},
      {"boss:x:0:0", word, kUnknown},
      {"boss,second", word, kUnknown},
      {"%boss", word, kUnknown},
      {"unix-user:boss", word, kUnknown},
      {"0", word, kUnknown},
      {"-u", word, kUnknown},
      {"--help", word, kUnknown},
      {"../boss", word, kUnknown},
      {"*", word, kUnknown},
      {"$(" + kRun + ")", word, kUnknown},
      {"`" + kRun + "`", word, kUnknown},
      {"boss; " + kRun, word, kUnknown},
      {"boss' ; " + kRun + " '", word, kUnknown},
      {std::string(1 << 20, 'b'), word, kUnknown},
      {"root", word, ScriptError::kNotAdministrator},
      {"plain", "plain word", ScriptError::kNotAdministrator},
      {"boss\"", word, kNone},
      {"boss\\", word, kNone},
      {"boss\" password \"" + word, "more", kNone},
      {"boss\" password \"" + word + "\" with administrator privileges", "more", kNone},
  });
}

}  // namespace
}  // namespace fillstation::test
