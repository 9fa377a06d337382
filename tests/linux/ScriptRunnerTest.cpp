#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "FakeAgentTest.h"
#include "HostileTexts.h"
#include "PolkitScriptRunner.h"
#include "TestPlatform.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

const std::string kWipe = "dd if=/dev/zero of=/dev/sdb bs=4k count=10";
const DiskIdentity kTarget{"/dev/sdb", 3 * 65536 + 12};

void expectFailure(const ScriptOutcome& outcome, std::int64_t number, const std::string& message) {
  EXPECT_EQ(outcome.result, std::nullopt);
  EXPECT_EQ(outcome.errorNumber, number);
  EXPECT_EQ(outcome.errorMessage, message);
}

// The runner over an agent that behaves as the user name says.
class ScriptRunnerTest : public FakeAgentTest {
 protected:
  ScriptRunnerTest() { platform().workers = &workers_; }
  ~ScriptRunnerTest() override { platform() = {}; }

  ScriptOutcome run(const std::string& command, const std::string& user = "boss",
                    const std::string& password = "0", const DiskIdentity& target = kTarget) {
    return runner_.run("do shell script \"" + command + "\" user name \"" + user +
                           "\" password \"" + password + "\" with administrator privileges",
                       target);
  }

  TestWorkers workers_;
  std::optional<std::uint64_t> sequence_ = 99;
  std::optional<DiskIdentity> asked_;
  std::vector<std::string> spared_;
  PolkitScriptRunner runner_{
      FAKE_AGENT,
      [this](const DiskIdentity& target) {
        asked_ = target;
        return sequence_;
      },
      [this](const DiskIdentity& target) { spared_.push_back(target.node); }};
};

TEST_F(ScriptRunnerTest, TheTwoCommandsRunGuardedAndTheirOutputIsTheResult) {
  const auto outcome = run(kWipe);
  EXPECT_EQ(outcome.result, "its output");
  EXPECT_EQ(outcome.errorNumber, std::nullopt);
  EXPECT_EQ(outcome.errorMessage, std::nullopt);
  EXPECT_EQ(run("mkfs.fat -F32 /dev/sdb").result, "its output");
  const std::string user = "user boss password 0\ncommand ";
  EXPECT_EQ(noted(), user + guardedCommand(PlayerCommand::wipe, kTarget, 99) + "\n" + user +
                         guardedCommand(PlayerCommand::format, kTarget, 99) + "\n");
  ASSERT_TRUE(asked_);
  EXPECT_EQ(asked_->node, kTarget.node);
  EXPECT_EQ(asked_->usbHandle, kTarget.usbHandle);
  EXPECT_EQ(spared_, std::vector<std::string>());
}

TEST_F(ScriptRunnerTest, AFailedCommandHasItsStatusAndARefusalOfTheGuardANumberOfItsOwn) {
  expectFailure(run(kWipe, "boss", "3"), 3, "its /dev/sdb error");
  expectFailure(run(kWipe, "boss", "126"), 126, "its /dev/sdb error");
  EXPECT_EQ(spared_, std::vector<std::string>());
  expectFailure(run(kWipe, "boss", "77"), -1004, "its /dev/sdb error");
  EXPECT_EQ(spared_, std::vector<std::string>{"/dev/sdb"});
}

TEST_F(ScriptRunnerTest, AnErrorTextNamesTheDiskAndLosesItsLastLineFeed) {
  const auto expectText = [this](const std::string& said, const std::string& text) {
    expectFailure(run(kWipe, "says", said), 1, text);
  };
  expectText("/dev/fd/9: no /dev/fd/9 now", "/dev/sdb: no /dev/sdb now");
  expectText("first\nsecond\n", "first\nsecond");
  expectText("\n", "The command ended with status 1.");
  expectText("", "The command ended with status 1.");
}

TEST_F(ScriptRunnerTest, EveryReasonHasANumberAndATextAndADiskWhoseCommandDidNotBeginIsSpared) {
  struct Reason {
    Kind kind;
    std::int64_t number;
    const char* message;
    bool mayHaveBegun = false;
  };
  for (const auto& [kind, number, message, mayHaveBegun] : std::vector<Reason>{
           {Kind::cancelled, -128, "The authentication was cancelled."},
           {Kind::wrongCredentials, -1002, "The user name or the password is wrong."},
           {Kind::unknownUser, -1006, "There is no user of that name."},
           {Kind::notAdministrator, -1007, "That user is not an administrator."},
           {Kind::needsMore, -1008, "The system asks for more than a password."},
           {Kind::notChecked, -1009, "The system did not check the password."},
           {Kind::unavailable, -1005, "the reason", true}}) {
    spared_.clear();
    expectFailure(run(kWipe, "kind", std::to_string(static_cast<int>(kind))), number, message);
    EXPECT_EQ(spared_.size(), mayHaveBegun ? 0U : 1U) << message;
  }
  EXPECT_EQ(noted().find("command"), std::string::npos);
}

TEST_F(ScriptRunnerTest, OtherCommandsAreRefused) {
  for (const char* command : {"id", "dd if=/dev/zero of=/dev/sdb bs=4k count=11",
                              "mkfs.fat -F32 /dev/sdb; id", "mkfs.fat -F32 /dev/sdc"}) {
    expectFailure(run(command), -1003, "The command is not one for this player.");
  }
  EXPECT_EQ(noted(), "");
}

TEST_F(ScriptRunnerTest, ADiskThatHasGoneIsRefusedWithoutAuthentication) {
  sequence_.reset();
  expectFailure(run(kWipe), -1004, "The device has gone.");
  EXPECT_EQ(noted(), "");
}

TEST_F(ScriptRunnerTest, WhenTheProgramIsEndingNothingBegins) {
  workers_.stop();
  expectFailure(run(kWipe), -128, "The authentication was cancelled.");
  EXPECT_EQ(noted(), "");
}

// A runner that gets texts of devices and persons where it expects a device name, a user name or a
// password.
class ScriptHostileTest : public ScriptRunnerTest,
                          public ::testing::WithParamInterface<HostileText> {
 protected:
  static const std::string& bytes() { return GetParam().bytes; }
  static bool isSyntax() { return bytes().find_first_of("\"\\") != std::string::npos; }
  // The command is for the disk that it names, and no agent hears of it.
  void expectRefused(const std::string& command, const std::string& node) {
    EXPECT_EQ(run(command, "boss", "0", {node, kTarget.usbHandle}).errorNumber,
              isSyntax() ? ScriptError::kSyntax : ScriptError::kNotAPlayerCommand)
        << command;
    EXPECT_FALSE(asked_);
    EXPECT_EQ(noted(), "");
  }
};

TEST_P(ScriptHostileTest, AsADeviceNameItReachesNoShell) {
  for (const std::string& node :
       {"/dev/" + bytes(), "/dev/sdb" + bytes(), "/dev/" + bytes() + "sdb", "/dev/sdb " + bytes(),
        bytes(), bytes() + "/dev/sdb", "/dev/../" + bytes(), "/dev/sdb/" + bytes()}) {
    expectRefused("dd if=/dev/zero of=" + node + " bs=4k count=10", node);
    expectRefused("mkfs.fat -F32 " + node, node);
  }
}

TEST_P(ScriptHostileTest, BesideADeviceNameItReachesNoShell) {
  expectRefused(bytes() + "mkfs.fat -F32 /dev/sdb", "/dev/sdb");
  expectRefused("mkfs.fat -F32 /dev/sdb" + bytes(), "/dev/sdb");
  expectRefused("dd if=/dev/zero of=/dev/sdb" + bytes() + " bs=4k count=10", "/dev/sdb");
}

TEST_P(ScriptHostileTest, AsCredentialsItReachesTheAgentAsItIs) {
  const auto expected = isSyntax() ? ScriptError::kSyntax : ScriptError::kWrongCredentials;
  EXPECT_EQ(run(kWipe, bytes(), "refuse").errorNumber, expected);
  EXPECT_EQ(run(kWipe, "refuse", bytes()).errorNumber, expected);
  EXPECT_EQ(noted(), isSyntax() ? ""
                                : "user " + bytes() + " password refuse\nuser refuse password " +
                                      bytes() + "\n");
}

std::string nameOfText(const ::testing::TestParamInfo<HostileText>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Every, ScriptHostileTest, ::testing::ValuesIn(hostileTexts()), nameOfText);

}  // namespace
}  // namespace fillstation::test
