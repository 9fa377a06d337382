#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "PolkitScriptRunner.h"
#include "ScriptBox.h"

namespace fillstation::test {
namespace {

using Script = ScriptError;

// The whole table of what becomes of a call with the real polkit and pkexec, in the numbers and
// words of the port. It is printed as well, with the time that each row took.
class ScriptTableTest : public ScriptBoxTest {
 protected:
  // What a row expects: the error's number, 0 for a command that succeeded, and its text, if that
  // is ours to choose.
  struct Outcome {
    std::int64_t number = 0;
    std::string text;
  };

  // Makes all calls at once and expects that outcome of each.
  static void row(const std::string& name, const std::vector<Call>& calls, const Outcome& expected,
                  const std::function<void(Window&)>& meanwhile = {}) {
    const auto begin = std::chrono::steady_clock::now();
    Window window("tester", calls);
    if (meanwhile) {
      meanwhile(window);
    }
    const auto replies = window.replies();
    EXPECT_EQ(replies.size(), calls.size()) << name;
    for (const auto& reply : replies) {
      if (!HasFailure()) {
        expect(name, outcomeOf(reply, "/dev/sdz"), expected);
      }
    }
    const auto time = std::chrono::steady_clock::now() - begin;
    const auto text = replies.empty() ? "" : textOf(outcomeOf(replies.front(), "/dev/sdz"));
    std::printf("| %s | %s | %lld ms |\n", name.c_str(), text.c_str(),
                static_cast<long long>(
                    std::chrono::duration_cast<std::chrono::milliseconds>(time).count()));
  }
  static void row(const std::string& name, const Call& call, const Outcome& expected) {
    row(name, std::vector<Call>{call}, expected);
  }
  static std::string textOf(const ScriptOutcome& outcome) {
    return outcome.result ? "0: " + outcome.result->substr(0, outcome.result->find('\n'))
                          : std::to_string(outcome.errorNumber.value_or(0)) + ": " +
                                outcome.errorMessage.value_or("");
  }
  static void expect(const std::string& name, const ScriptOutcome& outcome,
                     const Outcome& expected) {
    if (expected.number == 0) {
      EXPECT_EQ(outcome.result, expected.text) << name;
      EXPECT_FALSE(outcome.errorNumber) << name;
      return;
    }
    EXPECT_FALSE(outcome.result) << name;
    EXPECT_EQ(outcome.errorNumber, expected.number) << name;
    // Of what isn't there the system says more.
    EXPECT_TRUE(outcome.errorMessage.value_or("").starts_with(expected.text))
        << name << ": " << outcome.errorMessage.value_or("none");
    EXPECT_NE(outcome.errorMessage.value_or(""), "") << name;
  }
  static std::vector<Call> times(std::size_t count, const Call& call) {
    return std::vector<Call>(count, call);
  }

  static Call boss(const std::string& command = "echo done") {
    return {"boss", kBossPassword, command};
  }
  // Calls that must not run anything say so by this file.
  static inline const std::string kRan = "touch /run/box/ran";
  static inline const Outcome kDone{0, "done\n"};
  static inline const Outcome kWrong{Script::kWrongCredentials,
                                     "The user name or the password is wrong."};
};

TEST_F(ScriptTableTest, Refusals) {
  row("right administrator, another account", boss(), kDone);
  row("wrong password", {"boss", "wrong", kRan}, kWrong);
  row("empty password", {"boss", "", kRan}, kWrong);
  row("locked account", {"locked", "locked word", kRan}, kWrong);
  row("unknown user", {"nobody-of-that-name", "word", kRan},
      {Script::kUnknownUser, "There is no user of that name."});
  row("not an administrator", {"plain", "plain word", kRan},
      {Script::kNotAdministrator, "That user is not an administrator."});
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptTableTest, ExitStatuses) {
  for (const int status : {3, 126, 127, 255}) {
    const std::string number = std::to_string(status);
    row("command exits " + number, boss("exit " + number),
        {status, "The command ended with status " + number + "."});
  }
  row("command is killed", boss("kill -KILL $$"), {137, "The command ended with status 137."});
}

TEST_F(ScriptTableTest, Cancelled) {
  slowPam();
  row("cancelled", {boss(kRan)}, {Script::kCancelled, "The authentication was cancelled."},
      [](Window& window) {
        awaitFile("/run/box/asked");
        window.stop();
      });
  writeFile("/run/box/go", "");
  await([] { return processesWith("pkexec") == 0; }, "pkexec ends");
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptTableTest, AMissingPart) {
  writeFile("/run/box/none", "#!/run/box/nothing\n");
  shell("chmod +x /run/box/none; mount --bind /run/box/none /usr/bin/pkexec");
  row("no pkexec", boss(kRan), {Script::kUnavailable, "pkexec can't be started: "});
  shell(
      "umount /usr/bin/pkexec; kill -KILL $(pidof polkitd); "
      "mount --bind /dev/null /usr/lib/polkit-1/polkitd");
  row("no polkitd", boss(kRan), {Script::kUnavailable, "polkit can't be reached: "});
  shell("kill $(cat /run/box/bus.pid); rm -f /run/dbus/system_bus_socket");
  row("no bus", boss(kRan), {Script::kUnavailable, "polkit can't be reached: "});
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptTableTest, ManyAtOnce) {
  row("32 at once, right", times(32, boss()), kDone);
  row("64 at once, right", times(64, boss()), kDone);
  row("64 at once, wrong", times(64, {"boss", "wrong", kRan}), kWrong);
  EXPECT_FALSE(exists("/run/box/ran"));
}

TEST_F(ScriptTableTest, AKilledWindow) {
  slowPam();
  {
    Window window("tester", {boss(kRan)});
    awaitFile("/run/box/asked");
    window.kill();
    await([] { return processesWith("/run/box/agent") == 0 && processesWith("pkexec") == 0; },
          "the agent and pkexec end");
    writeFile("/run/box/go", "");
    await([] { return processesWith("polkit-agent-helper") == 0; }, "the helper ends");
    EXPECT_FALSE(exists("/run/box/ran"));
    std::puts("| window killed during authentication | nothing runs | |");
  }
  Window window("tester", {boss("touch /run/box/began; "
                                "until [ -e /run/box/end ]; do sleep 0.02; done; " +
                                kRan)});
  awaitFile("/run/box/began");
  window.kill();
  await([] { return processesWith("/run/box/driver") == 0; }, "the window ends");
  writeFile("/run/box/end", "");
  awaitFile("/run/box/ran");
  std::puts("| window killed during the command | the command finishes | |");
}

}  // namespace
}  // namespace fillstation::test
