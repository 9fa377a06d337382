#include <string>
#include <vector>

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

// The outcome of one call in every situation, with the real polkit and pkexec. By default the
// window runs as tester, who is no administrator.
class ScriptOutcomesTest : public ScriptBoxTest {
 protected:
  static AgentReply runAsBoss(const std::string& command = "touch /run/box/ran") {
    return runAs("tester", bossCall(command));
  }
  static void pretendPkexec(const std::string& script) { replaceTool("/usr/bin/pkexec", script); }
  // Runs a shell command before each agent, which inherits its effects.
  static void beforeAgents(const std::string& command) {
    shell("[ -e /run/box/real-agent ] || mv /run/box/agent /run/box/real-agent");
    writeScript("/run/box/agent", command + "\nexec /run/box/real-agent");
  }
  // The reason why boss's call can't run; the system may add more.
  static void expectUnavailable(const std::string& why) {
    const auto reply = runAsBoss();
    EXPECT_EQ(reply.kind, Kind::unavailable);
    EXPECT_TRUE(reply.err.starts_with(why)) << reply.err;
    EXPECT_NE(reply.err, "polkit can't be reached: ");
    EXPECT_EQ(reply.err.find("GDBus.Error"), std::string::npos) << reply.err;
    expectNothingRan();
  }
};

TEST_F(ScriptOutcomesTest, TheRightAdministratorsCommandRunsAsRootForEveryWindowsUser) {
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

TEST_F(ScriptOutcomesTest, AShellThatEndsWhileTheCommandIsSentHasAStatus) {
  pretendPkexec(
      "exec /run/box/real-pkexec --disable-internal-agent /bin/sh -c "
      "\"echo 'fillstation: ready'; head -c 1 >/dev/null; exit 5\"");
  const auto reply = runAsBoss("true " + std::string(300000, 'x'));
  EXPECT_EQ(reply.kind, Kind::ended);
  EXPECT_EQ(reply.exitStatus, 5);
}

TEST_F(ScriptOutcomesTest, TheCommandsExitStatusIsReturned) {
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

TEST_F(ScriptOutcomesTest, PkexecsOwnErrorMessageIsReturned) {
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

TEST_F(ScriptOutcomesTest, AnAgentWithoutCredentialsEndsAtOnce) {
  for (const bool namesUser : {false, true}) {
    Person agent({"/run/box/agent"}, "/dev/null");
    if (namesUser) {
      agent.say({"boss"});
    }
    agent.fallSilent();
    const auto status = agent.ended();
    ASSERT_TRUE(status);
    EXPECT_TRUE(WIFEXITED(*status));
    EXPECT_EQ(WEXITSTATUS(*status), 2);
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

// Possible texts in the two fields, and their outcome with the real polkit: a text is accepted
// unchanged or refused, never interpreted.
class ScriptCredentialsTest : public ScriptBoxTest {
 protected:
  // The device is none: after the credentials were accepted, that is the refusal.
  static constexpr std::int64_t kAccepted = ScriptError::kNotThePlayer;
  static constexpr std::int64_t kWrong = ScriptError::kWrongCredentials;
  static constexpr std::int64_t kUnknown = ScriptError::kUnknownUser;
  static constexpr std::int64_t kNone = ScriptError::kSyntax;

  // Each user with each password, in the text that a task makes of them, run for a device.
  static void expect(std::int64_t number, const std::vector<std::string>& users,
                     const std::vector<std::string>& passwords) {
    std::vector<Call> calls;
    for (const auto& user : users) {
      for (const auto& password : passwords) {
        calls.push_back({"script", "",
                         "do shell script \"mkfs.fat -F32 /dev/null\" user name \"" + user +
                             "\" password \"" + password + "\" with administrator privileges"});
      }
    }
    const auto replies = Window("tester", calls).replies();
    ASSERT_EQ(replies.size(), calls.size());
    for (std::size_t at = 0; at < calls.size(); ++at) {
      EXPECT_EQ(replies[at].exitStatus, number)
          << calls[at].command.substr(0, 160) << ": " << replies[at].err;
    }
    expectNothingRan();
    EXPECT_FALSE(exists("/root/ran"));
  }

  const std::string kRun = "touch /run/box/ran";
  const std::string& word = bossPassword();
};

TEST_F(ScriptCredentialsTest, TheRightOnesAreAcceptedWithAnyCharacters) {
  expect(kAccepted, {"boss"}, {word});
  expect(kAccepted, {"second"}, {"Grüße mit Umläuten"});
  expect(kAccepted, {"third"}, {std::string(510, 'x')});
}

TEST_F(ScriptCredentialsTest, APasswordIsTakenAsItIsOrRefused) {
  expect(kWrong, {"boss"},
         {"", word.substr(1), word + " ", word + "\n", "\n" + word, word + "\r",
          word + std::string("\0more", 5), "$(" + kRun + ")", "`" + kRun + "`", "; " + kRun + " #",
          "' ; " + kRun + " '", "%s%n%@", "Gr\xFC\xDF", std::string(1 << 20, 'x')});
  expect(kWrong, {"locked"}, {"locked word"});
  expect(kWrong, {"second"}, {"Gru\u0308\u00DFe mit Umla\u0308uten"});  // the same to the eye
  expect(kWrong, {"third"}, {std::string(511, 'x'), std::string(509, 'x')});
  expect(kNone, {"boss"},
         {"\"", "\\", word + "\" with administrator privileges", "\" password \"" + word,
          "\\\" & \"" + kRun});
}

TEST_F(ScriptCredentialsTest, AUserNameIsTakenAsItIsOrRefused) {
  expect(
      kUnknown,
      {"", "boss ", " boss", "BOSS", "boss\n", "boss\nsecond", "bo\u0455s", "b\xF6ss", "boss:x:0:0",
       "boss,second", "%boss", "unix-user:boss", "0", "-u", "--help", "../boss", "*"},
      {word});
  expect(kUnknown,
         {std::string("boss\0", 5), std::string("boss\0second", 11), "$(" + kRun + ")",
          "`" + kRun + "`", "boss; " + kRun, "boss' ; " + kRun + " '", std::string(1 << 20, 'b')},
         {word});
  expect(ScriptError::kNotAdministrator, {"root"}, {word});
  expect(ScriptError::kNotAdministrator, {"plain"}, {"plain word"});
  expect(kNone, {"boss\"", "boss\\"}, {word});
  expect(kNone,
         {"boss\" password \"" + word,
          "boss\" password \"" + word + "\" with administrator privileges"},
         {"more"});
}

}  // namespace
}  // namespace fillstation::test
