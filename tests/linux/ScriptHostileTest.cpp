#include <gtest/gtest.h>

#include "FakeAgentTest.h"
#include "HostileTexts.h"
#include "PolkitScriptRunner.h"
#include "ScriptCompiler.h"
#include "TestPlatform.h"

namespace fillstation::test {
namespace {

// A runner that gets texts of devices and persons where it expects a device name, a user name or a
// password, over an agent that notes what reaches it.
class ScriptHostileTest : public FakeAgentTest, public ::testing::WithParamInterface<HostileText> {
 protected:
  ScriptHostileTest() { platform().workers = &workers_; }
  ~ScriptHostileTest() override { platform() = {}; }

  static const std::string& bytes() { return GetParam().bytes; }
  // The number of the failure that a task's text of these ends with; the disk is the one named.
  std::int64_t run(const std::string& node, const std::string& user, const std::string& password,
                   const std::string& before, const std::string& behind) {
    PolkitScriptRunner runner(
        FAKE_AGENT, [](const DiskIdentity&) { return 3; }, [](const DiskIdentity&) {});
    const auto outcome =
        runner.run("do shell script \"" + before + node + behind + "\" user name \"" + user +
                       "\" password \"" + password + "\" with administrator privileges",
                   {node, 0x10002});
    return outcome.result ? 0 : outcome.errorNumber.value_or(0);
  }
  static bool isSyntax(const std::string& text) {
    return text.find_first_of("\"\\") != std::string::npos;
  }

 private:
  TestWorkers workers_;
};

TEST_P(ScriptHostileTest, AsADeviceNameItReachesNoShell) {
  const auto expected =
      isSyntax(bytes()) ? kScriptSyntaxErrorNumber : ScriptError::kNotAPlayerCommand;
  for (const std::string& node :
       {"/dev/" + bytes(), "/dev/sdb" + bytes(), "/dev/" + bytes() + "sdb", "/dev/sdb " + bytes(),
        bytes(), bytes() + "/dev/sdb", "/dev/../" + bytes(), "/dev/sdb/" + bytes()}) {
    EXPECT_EQ(run(node, "boss", "0", "dd if=/dev/zero of=", " bs=4k count=10"), expected) << node;
    EXPECT_EQ(run(node, "boss", "0", "mkfs.fat -F32 ", ""), expected) << node;
  }
  EXPECT_EQ(noted(), "");
}

TEST_P(ScriptHostileTest, BesideADeviceNameItReachesNoShell) {
  const auto expected =
      isSyntax(bytes()) ? kScriptSyntaxErrorNumber : ScriptError::kNotAPlayerCommand;
  EXPECT_EQ(run("/dev/sdb", "boss", "0", bytes() + "mkfs.fat -F32 ", ""), expected);
  EXPECT_EQ(run("/dev/sdb", "boss", "0", "mkfs.fat -F32 ", bytes()), expected);
  EXPECT_EQ(run("/dev/sdb", "boss", "0", "dd if=/dev/zero of=", bytes() + " bs=4k count=10"),
            expected);
  EXPECT_EQ(noted(), "");
}

TEST_P(ScriptHostileTest, AsCredentialsItReachesTheAgentAsItIs) {
  const int user = static_cast<int>(run("/dev/sdb", bytes(), "refuse", "mkfs.fat -F32 ", ""));
  const int password = static_cast<int>(run("/dev/sdb", "refuse", bytes(), "mkfs.fat -F32 ", ""));
  if (isSyntax(bytes())) {
    EXPECT_EQ(user, kScriptSyntaxErrorNumber);
    EXPECT_EQ(password, kScriptSyntaxErrorNumber);
    EXPECT_EQ(noted(), "");
    return;
  }
  EXPECT_EQ(user, ScriptError::kWrongCredentials);
  EXPECT_EQ(password, ScriptError::kWrongCredentials);
  EXPECT_NE(noted().find("user " + bytes() + " password refuse\n"), std::string::npos) << noted();
  EXPECT_NE(noted().find("user refuse password " + bytes() + "\n"), std::string::npos) << noted();
}

std::string nameOfText(const ::testing::TestParamInfo<HostileText>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Every, ScriptHostileTest, ::testing::ValuesIn(hostileTexts()), nameOfText);

}  // namespace
}  // namespace fillstation::test
