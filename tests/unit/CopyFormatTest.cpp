#include "CopyRig.h"

// The format of a player, and the runner of its commands.

namespace fillstation::test {
namespace {

constexpr const char* kWipe =
    "run do shell script \"dd if=/dev/zero of=/dev/sdb bs=4k count=10\" user name \"admin\" "
    "password \"secret\" with administrator privileges";
constexpr const char* kFormat =
    "run do shell script \"mkfs.fat -F32 /dev/sdb\" user name \"admin\" password \"secret\" with "
    "administrator privileges";
constexpr const char* kUnmounted = "log \nDevice /dev/sdb unmounted\n";
constexpr const char* kMounted = "log \nDevice /dev/sdb mounted\n";

// The log up to the first command, when the unmount completes in the first pause; up to the mount;
// and up to the volume's facts.
const Lines kOffline{"unmount /dev/sdb", "pause", kUnmounted, "pause"};
const Lines kMount{kFormat, "mount /dev/sdb", "pause"};
const Lines kLook{"look", "pause"};

Lines times(int count, const Lines& lines) {
  Lines all;
  for (int time = 0; time < count; ++time) {
    all = all + lines;
  }
  return all;
}

ScriptOutcome failed() { return {{}, 1, "failed"}; }

class TRFileCopyTaskFormatTest : public CopyTest {
 protected:
  bool format() {
    bool result = false;
    runOnWorker([&] { result = task->format(); });
    return result;
  }
  // Has these commands fail.
  void failScripts(std::size_t first, std::size_t last) {
    answerScript = [first, last](std::size_t number) {
      return number >= first && number <= last ? failed() : ScriptOutcome{"", {}, {}};
    };
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p", 65541);
  std::shared_ptr<TRFileCopyTaskCollection> collection = collectionFor(roots(), {player});
  std::shared_ptr<TRFileCopyTask> task = collection->tasks().at(0);
};

// The commands that fail, the look at which the volume's facts are there, and the log after
// kOffline.
struct FormatCase {
  const char* name;
  std::size_t firstFailure;
  std::size_t lastFailure;
  std::size_t foundAtLook;
  bool succeeds;
  Lines events;
};
const std::vector<FormatCase> kFormatCases{
    {"EverythingSucceeds", 0, 0, 1, true, lines(kWipe, "pause") + kMount + lines(kMounted) + kLook},
    {"TwoWipesFail", 1, 2, 1, true, times(3, {kWipe, "pause"}) + kMount + lines(kMounted) + kLook},
    {"AllThreeWipesFail", 1, 3, 1, false,
     times(3, {kWipe, "pause"}) + lines("log dd operation failed.\n")},
    {"FormatFails", 2, 2, 1, false,
     lines(kWipe, "pause", kFormat, "log newfs_msdos operation failed.\n")},
    {"FactsAreFoundAtTheTenthRefresh", 0, 0, 10, true,
     lines(kWipe, "pause") + kMount + lines(kMounted) + times(10, kLook)},
    {"FactsAreNeverFound", 0, 0, 1000, false,
     lines(kWipe, "pause") + kMount + lines(kMounted) + times(10, kLook)},
};
void PrintTo(const FormatCase& each, std::ostream* out) { *out << each.name; }

class TRFileCopyTaskFormatCases : public TRFileCopyTaskFormatTest,
                                  public ::testing::WithParamInterface<FormatCase> {};

TEST_P(TRFileCopyTaskFormatCases, DoTheStepsThatTheyMust) {
  failScripts(GetParam().firstFailure, GetParam().lastFailure);
  foundAtLook = GetParam().foundAtLook;
  EXPECT_EQ(format(), GetParam().succeeds);
  EXPECT_EQ(trace.texts(), kOffline + GetParam().events);
  EXPECT_EQ(player->isMounted(), count(kMounted) == 1);
  for (const auto& call : ports.scripts.calls()) {
    EXPECT_EQ(call.target.node, "/dev/sdb");
    EXPECT_EQ(call.target.usbHandle, 65541U);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, TRFileCopyTaskFormatCases, ::testing::ValuesIn(kFormatCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(TRFileCopyTaskFormatTest, MountStateIsAwaitedWithoutALimitForEveryAnswer) {
  pauses = 250;
  ports.disks.refuse = [](const TestDisks::Request&) { return Dissenter{"busy"}; };
  EXPECT_TRUE(format());
  const Lines wait(250, "pause");
  EXPECT_EQ(trace.texts(),
            lines("unmount /dev/sdb") + wait +
                lines(kUnmounted, "pause", kWipe, "pause", kFormat, "mount /dev/sdb") + wait +
                lines(kMounted) + kLook);
  EXPECT_EQ(player->name(), "PLAYER");
  EXPECT_EQ(player->path(), "file:///media/p/");
}

TEST_F(TRFileCopyTaskFormatTest, PlayerThatIsNotMountedIsAskedToUnmountAllTheSame) {
  player->setIsMounted(false);
  EXPECT_TRUE(format());
  Lines begin = trace.texts();
  begin.resize(4);
  EXPECT_EQ(begin, lines("unmount /dev/sdb", "pause", kUnmounted, kWipe));
}

TEST_F(TRFileCopyTaskFormatTest, CredentialsAreReadBeforeEachCommand) {
  answerScript = [this](std::size_t number) {
    collection->setUserName("name" + std::to_string(number));
    collection->setUserPass("pass" + std::to_string(number));
    return number == 1 ? failed() : ScriptOutcome{"", {}, {}};
  };
  EXPECT_TRUE(format());
  Lines credentials;
  for (const auto& call : ports.scripts.calls()) {
    credentials.push_back(call.source.substr(call.source.find(" user name")));
  }
  EXPECT_EQ(credentials,
            lines(" user name \"admin\" password \"secret\" with administrator privileges",
                  " user name \"name1\" password \"pass1\" with administrator privileges",
                  " user name \"name2\" password \"pass2\" with administrator privileges"));
}

TEST_F(TRFileCopyTaskFormatTest, CommandsNameThePlayersOwnDiskAndNoCredentialsWithoutACollection) {
  task = std::make_shared<TRFileCopyTask>(addDisk("disk5", "/media/q"), roots(), nullptr, nullptr);
  EXPECT_TRUE(format());
  const auto calls = ports.scripts.calls();
  ASSERT_EQ(calls.size(), 2U);
  const std::string absent =
      "\" user name \"(null)\" password \"(null)\" with administrator privileges";
  EXPECT_EQ(calls[0].source,
            "do shell script \"dd if=/dev/zero of=/dev/disk5 bs=4k count=10" + absent);
  EXPECT_EQ(calls[1].source, "do shell script \"mkfs.fat -F32 /dev/disk5" + absent);
}

TEST_F(TRFileCopyTaskFormatTest, WithoutAPlayerNothingIsDone) {
  task = std::make_shared<TRFileCopyTask>();
  EXPECT_FALSE(format());
  EXPECT_EQ(trace.texts(), lines());
}

// The pauses of a plain run are: unmount poll, after the unmount, after the wipe, mount poll, after
// the refresh.
const std::vector<Lines> kUntilPause{
    {"unmount /dev/sdb", "pause"},
    kOffline,
    kOffline + lines(kWipe, "pause"),
    kOffline + lines(kWipe, "pause") + kMount,
    kOffline + lines(kWipe, "pause") + kMount + lines(kMounted) + kLook,
};

class TRFileCopyTaskFormatEndingTest : public TRFileCopyTaskFormatTest,
                                       public ::testing::WithParamInterface<std::size_t> {};

TEST_P(TRFileCopyTaskFormatEndingTest, NothingFollowsAPauseThatIsCutShort) {
  if (GetParam() == 1) {
    endClock();
  }
  atPause = [this](std::size_t number) {
    if (number + 1 == GetParam()) {
      // Counts from the next pause; the present one still completes pending requests.
      ports.clock.end();
    }
    clockEnded = number >= GetParam();
  };
  EXPECT_FALSE(format());
  EXPECT_EQ(trace.texts(), kUntilPause.at(GetParam() - 1));
}

TEST_P(TRFileCopyTaskFormatEndingTest, NothingFollowsAPauseDuringWhichTheProgramEnds) {
  atPause = [this](std::size_t number) {
    if (number == GetParam()) {
      ports.workers.stop();
      clockEnded = true;  // nothing completes any more
    }
  };
  EXPECT_FALSE(format());
  EXPECT_EQ(trace.texts(), kUntilPause.at(GetParam() - 1));
}

INSTANTIATE_TEST_SUITE_P(AtPause, TRFileCopyTaskFormatEndingTest,
                         ::testing::Range<std::size_t>(1, 6));

TEST_F(TRFileCopyTaskFormatTest, ThirdFailedWipeIsNotLoggedWhenTheProgramEnds) {
  failScripts(1, 3);
  atPause = [this](std::size_t number) {
    if (number == 5) {
      ports.workers.stop();
    }
  };
  EXPECT_FALSE(format());
  EXPECT_EQ(trace.texts(), kOffline + times(3, {kWipe, "pause"}));
}

TEST_F(TRFileCopyTaskFormatTest, NothingFollowsAFormatDuringWhichTheProgramEnds) {
  for (const bool fails : {true, false}) {
    // Only the end of the program is different from a plain run.
    TestWorkers workers;
    platform().workers = &workers;
    ports.scripts.answer = [&](std::size_t, const TestScriptRunner::Call& call) {
      trace.write("run " + call.source);
      if (call.source.find("mkfs") == std::string::npos) {
        return ScriptOutcome{"", {}, {}};
      }
      workers.stop();
      return fails ? failed() : ScriptOutcome{"", {}, {}};
    };
    player->setIsMounted(true);
    EXPECT_FALSE(format());
    platform().workers = &ports.workers;
  }
  EXPECT_EQ(trace.texts(), times(2, kOffline + lines(kWipe, "pause", kFormat)));
}

class CopyRunnerTest : public CopyTest {
 protected:
  CopyRunnerTest() {
    ports.scripts.answer = [this](std::size_t, const TestScriptRunner::Call&) { return outcome; };
  }

  bool runScript(const std::vector<std::string>& arguments = {},
                 const std::string& password = "secret") {
    return task->runProcessAsAdministrator("admin", password, "dd", arguments, output,
                                           errorDescription);
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p", 196613);
  std::shared_ptr<TRFileCopyTask> task =
      std::make_shared<TRFileCopyTask>(player, roots(), nullptr, nullptr);
  ScriptOutcome outcome{"42 bytes", {}, {}};
  std::optional<std::string> output = "old";
  std::optional<std::string> errorDescription = "old";
};

TEST_F(CopyRunnerTest, EverythingIsInsertedIntoTheScriptAsItIs) {
  struct Case {
    std::vector<std::string> arguments;
    std::string password;
    std::string source;  // without the constant part
  };
  const std::vector<Case> cases{
      {{"if=/dev/zero", "of=/dev/disk3 bs=4k count=10"},
       "pass word",
       "dd if=/dev/zero of=/dev/disk3 bs=4k count=10\" user name \"admin\" password \"pass word"},
      {{}, "secret", "dd \" user name \"admin\" password \"secret"},
      {{"b", "", "a"}, "secret", "dd b  a\" user name \"admin\" password \"secret"},
      {{"x"}, "a\"b\\c", "dd x\" user name \"admin\" password \"a\"b\\c"},
      {{"%@"}, "%@%s", "dd %@\" user name \"admin\" password \"%@%s"},
  };
  for (const auto& each : cases) {
    EXPECT_TRUE(runScript(each.arguments, each.password));
    EXPECT_EQ(ports.scripts.calls().back().source,
              "do shell script \"" + each.source + "\" with administrator privileges");
  }
  EXPECT_EQ(ports.scripts.calls().size(), cases.size()) << "each call authenticates anew";
  EXPECT_EQ(trace.texts(), Lines{}) << "nothing is logged";
  task = std::make_shared<TRFileCopyTask>();
  EXPECT_TRUE(runScript());
  EXPECT_EQ(ports.scripts.calls().back().target.node, "") << "without a player for no disk";
}

TEST_F(CopyRunnerTest, FailureIsDescribedByItsMessageUnlessItWasCancelled) {
  const std::string cancelled = "The administrator password is required to do this.";
  struct Case {
    std::optional<std::int64_t> number;
    std::optional<std::string> message;
    std::optional<std::string> description;
  };
  // A number is narrowed to 32 bits before it is compared.
  for (const auto& each : std::vector<Case>{{-128, "User canceled.", cancelled},
                                            {-128, {}, cancelled},
                                            {(std::int64_t{1} << 32) - 128, "x", cancelled},
                                            {-(std::int64_t{1} << 32) - 128, "x", cancelled},
                                            {-127, "message", "message"},
                                            {-129, "message", "message"},
                                            {128, "message", "message"},
                                            {0, "message", "message"},
                                            {{}, "message", "message"},
                                            {{}, {}, {}},
                                            {1, {}, {}}}) {
    outcome = {{}, each.number, each.message};
    errorDescription = "old";
    EXPECT_FALSE(runScript());
    EXPECT_EQ(errorDescription, each.description) << each.number.value_or(999);
    EXPECT_EQ(output, "old");
  }
}

TEST_F(CopyRunnerTest, SuccessSetsTheOutputAndLeavesTheDescriptionAlone) {
  EXPECT_TRUE(runScript());
  EXPECT_EQ(output, "42 bytes");
  outcome = {"", {}, {}};
  EXPECT_TRUE(runScript());
  EXPECT_EQ(output, "");
  EXPECT_EQ(errorDescription, "old");
}

}  // namespace
}  // namespace fillstation::test
