#include "CopyRig.h"

namespace fillstation::test {
namespace {

constexpr const char* kCancelled = "The administrator password is required to do this.";

class CopyRunnerTest : public CopyTest {
 protected:
  CopyRunnerTest() {
    ports.scripts.answer = [this](std::size_t, const TestScriptRunner::Call&) { return outcome; };
  }

  bool runScript(const std::vector<std::string>& arguments,
                 const std::string& password = "secret") {
    return task->runProcessAsAdministrator("admin", password, "dd", arguments, output,
                                           errorDescription);
  }
  std::string source() const { return ports.scripts.calls().at(0).source; }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p", 196613);
  std::shared_ptr<TRFileCopyTask> task =
      std::make_shared<TRFileCopyTask>(player, roots(), nullptr, nullptr);
  ScriptOutcome outcome{"42 bytes", {}, {}};
  std::optional<std::string> output;
  std::optional<std::string> errorDescription;
};

TEST_F(CopyRunnerTest, WipeOfADiskBecomesOneCommandLineInTheScript) {
  EXPECT_TRUE(runScript({"if=/dev/zero", "of=/dev/disk3 bs=4k count=10"}, "pass word"));
  EXPECT_EQ(source(),
            "do shell script \"dd if=/dev/zero of=/dev/disk3 bs=4k count=10\" user name \"admin\" "
            "password \"pass word\" with administrator privileges");
}

TEST_F(CopyRunnerTest, EmptyArgumentListLeavesABlankAfterTheCommand) {
  EXPECT_TRUE(runScript({}));
  EXPECT_EQ(source(),
            "do shell script \"dd \" user name \"admin\" password \"secret\" with administrator "
            "privileges");
}

TEST_F(CopyRunnerTest, ArgumentsAreJoinedByOneBlankInTheirOrder) {
  EXPECT_TRUE(runScript({"b", "", "a"}));
  EXPECT_EQ(source(),
            "do shell script \"dd b  a\" user name \"admin\" password \"secret\" with "
            "administrator privileges");
}

TEST_F(CopyRunnerTest, PasswordWithADoubleQuoteIsInsertedAsItIsAndTheRunnersMessageComesBack) {
  outcome = {{}, -2741, "Expected end of line."};
  EXPECT_FALSE(runScript({"x"}, "a\"b\\c"));
  EXPECT_EQ(source(),
            "do shell script \"dd x\" user name \"admin\" password \"a\"b\\c\" with administrator "
            "privileges");
  EXPECT_EQ(errorDescription, "Expected end of line.");
}

TEST_F(CopyRunnerTest, TextThatLooksLikeAPlaceholderIsInsertedAsItIs) {
  EXPECT_TRUE(runScript({"%@"}, "%@%s"));
  EXPECT_EQ(source(),
            "do shell script \"dd %@\" user name \"admin\" password \"%@%s\" with administrator "
            "privileges");
}

TEST_F(CopyRunnerTest, CancelledAuthenticationHasAMessageOfItsOwn) {
  outcome = {{}, -128, "User canceled."};
  EXPECT_FALSE(runScript({}));
  EXPECT_EQ(errorDescription, kCancelled);
}

TEST_F(CopyRunnerTest, CancelledAuthenticationWithoutAMessageIsNamedToo) {
  outcome = {{}, -128, {}};
  EXPECT_FALSE(runScript({}));
  EXPECT_EQ(errorDescription, kCancelled);
}

TEST_F(CopyRunnerTest, NumberIsNarrowedTo32BitsBeforeItIsCompared) {
  for (const std::int64_t number :
       {(std::int64_t{1} << 32) - 128, -(std::int64_t{1} << 32) - 128}) {
    outcome = {{}, number, "other"};
    EXPECT_FALSE(runScript({}));
    EXPECT_EQ(errorDescription, kCancelled) << number;
  }
}

TEST_F(CopyRunnerTest, AnyOtherNumberWithAMessageYieldsThatMessage) {
  for (const std::int64_t number : {-127, -129, 128, 0, 1}) {
    outcome = {{}, number, "the message"};
    EXPECT_FALSE(runScript({}));
    EXPECT_EQ(errorDescription, "the message") << number;
    errorDescription.reset();
  }
}

TEST_F(CopyRunnerTest, MessageWithoutANumberIsTheDescription) {
  outcome = {{}, {}, "the message"};
  EXPECT_FALSE(runScript({}));
  EXPECT_EQ(errorDescription, "the message");
}

TEST_F(CopyRunnerTest, FailureWithNeitherNumberNorMessageHasNoDescription) {
  outcome = {};
  errorDescription = "an older one";
  EXPECT_FALSE(runScript({}));
  EXPECT_EQ(errorDescription, std::nullopt);
}

TEST_F(CopyRunnerTest, OtherNumberWithoutAMessageHasNoDescription) {
  outcome = {{}, 1, {}};
  errorDescription = "an older one";
  EXPECT_FALSE(runScript({}));
  EXPECT_EQ(errorDescription, std::nullopt);
}

TEST_F(CopyRunnerTest, SuccessSetsTheOutputAndLeavesTheDescriptionAlone) {
  errorDescription = "an older one";
  EXPECT_TRUE(runScript({}));
  EXPECT_EQ(output, "42 bytes");
  EXPECT_EQ(errorDescription, "an older one");
}

TEST_F(CopyRunnerTest, EmptyResultTextIsASuccess) {
  outcome = {"", {}, {}};
  EXPECT_TRUE(runScript({}));
  EXPECT_EQ(output, "");
}

TEST_F(CopyRunnerTest, FailureLeavesTheOutputAlone) {
  outcome = {{}, 1, "failed"};
  output = "an older one";
  EXPECT_FALSE(runScript({}));
  EXPECT_EQ(output, "an older one");
}

TEST_F(CopyRunnerTest, EachCommandIsMeantForTheTasksPlayer) {
  EXPECT_TRUE(runScript({}));
  EXPECT_EQ(ports.scripts.calls().at(0).target.node, "/dev/sdb");
  EXPECT_EQ(ports.scripts.calls().at(0).target.usbHandle, 196613U);
}

TEST_F(CopyRunnerTest, WithoutAPlayerTheCommandIsMeantForNoDisk) {
  task = std::make_shared<TRFileCopyTask>();
  EXPECT_TRUE(runScript({}));
  EXPECT_EQ(ports.scripts.calls().at(0).target.node, "");
  EXPECT_EQ(ports.scripts.calls().at(0).target.usbHandle, 0U);
}

TEST_F(CopyRunnerTest, EveryCallAuthenticatesAnewAndLogsNothing) {
  EXPECT_TRUE(runScript({}));
  EXPECT_TRUE(runScript({}));
  EXPECT_EQ(ports.scripts.calls().size(), 2U);
  EXPECT_EQ(ports.scripts.calls().at(1).source, source());
  EXPECT_EQ(trace.events(), Lines{});
}

}  // namespace
}  // namespace fillstation::test
