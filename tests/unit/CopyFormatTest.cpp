#include "CopyRig.h"

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

// What happens up to the first command, when the unmount completes in the first pause.
const Lines kOffline{"unmount /dev/sdb", "pause", kUnmounted, "pause"};

ScriptOutcome failed() { return {{}, 1, "failed"}; }

class TRFileCopyTaskFormatTest : public CopyTest {
 protected:
  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/p");
  std::shared_ptr<TRFileCopyTaskCollection> collection = collectionFor(roots(), {player});
  std::shared_ptr<TRFileCopyTask> task = collection->tasks().at(0);
};

TEST_F(TRFileCopyTaskFormatTest, PlayerIsUnmountedWipedFormattedMountedAndRefreshed) {
  EXPECT_TRUE(format(*task));
  EXPECT_EQ(trace.events(), kOffline + lines(kWipe, "pause", kFormat, "mount /dev/sdb", "pause",
                                             kMounted, "look", "pause"));
  EXPECT_EQ(player->name(), "PLAYER");
  EXPECT_EQ(player->path(), "file:///media/p/");
}

TEST_F(TRFileCopyTaskFormatTest, EachCommandIsGuardedByThePlayersIdentity) {
  player->setIONumber(65541);
  EXPECT_TRUE(format(*task));
  for (const auto& call : ports.scripts.calls()) {
    EXPECT_EQ(call.target.node, "/dev/sdb");
    EXPECT_EQ(call.target.usbHandle, 65541U);
  }
}

TEST_F(TRFileCopyTaskFormatTest, PlayerThatIsNotMountedIsAskedToUnmountAllTheSame) {
  player->setIsMounted(false);
  EXPECT_TRUE(format(*task));
  Lines begin = trace.events();
  begin.resize(4);
  EXPECT_EQ(begin, lines("unmount /dev/sdb", "pause", kUnmounted, kWipe));
}

TEST_F(TRFileCopyTaskFormatTest, WaitsForTheMountStateAreWithoutABound) {
  pauses = 250;
  EXPECT_TRUE(format(*task));
  const Lines wait(250, "pause");
  EXPECT_EQ(trace.events(),
            lines("unmount /dev/sdb") + wait +
                lines(kUnmounted, "pause", kWipe, "pause", kFormat, "mount /dev/sdb") + wait +
                lines(kMounted, "look", "pause"));
}

TEST_F(TRFileCopyTaskFormatTest, FirstWipeFailsAndTheSecondSucceeds) {
  answerScript = [](std::size_t number) {
    return number == 1 ? failed() : ScriptOutcome{"", {}, {}};
  };
  EXPECT_TRUE(format(*task));
  EXPECT_EQ(trace.events(), kOffline + lines(kWipe, "pause", kWipe, "pause", kFormat,
                                             "mount /dev/sdb", "pause", kMounted, "look", "pause"));
}

TEST_F(TRFileCopyTaskFormatTest, ThirdWipeSucceeds) {
  answerScript = [](std::size_t number) {
    return number <= 2 ? failed() : ScriptOutcome{"", {}, {}};
  };
  EXPECT_TRUE(format(*task));
  EXPECT_EQ(trace.events(),
            kOffline + lines(kWipe, "pause", kWipe, "pause", kWipe, "pause", kFormat,
                             "mount /dev/sdb", "pause", kMounted, "look", "pause"));
}

TEST_F(TRFileCopyTaskFormatTest, AllThreeWipesFail) {
  answerScript = [](std::size_t) { return failed(); };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), kOffline + lines(kWipe, "pause", kWipe, "pause", kWipe, "pause",
                                             "log dd operation failed.\n"));
  EXPECT_FALSE(player->isMounted());
}

TEST_F(TRFileCopyTaskFormatTest, FormatFailsAndThePlayerIsNotMounted) {
  answerScript = [](std::size_t number) {
    return number == 2 ? failed() : ScriptOutcome{"", {}, {}};
  };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(),
            kOffline + lines(kWipe, "pause", kFormat, "log newfs_msdos operation failed.\n"));
  EXPECT_FALSE(player->isMounted());
}

TEST_F(TRFileCopyTaskFormatTest, VolumeFactsAreFoundAtTheFourthRefresh) {
  foundAtLook = 4;
  EXPECT_TRUE(format(*task));
  EXPECT_EQ(eventsAfter(kMounted),
            (lines("look", "pause", "look", "pause", "look", "pause", "look", "pause")));
}

TEST_F(TRFileCopyTaskFormatTest, VolumeFactsAreFoundAtTheTenthRefresh) {
  foundAtLook = 10;
  EXPECT_TRUE(format(*task));
  EXPECT_EQ(eventsAfter(kMounted).size(), 20U);
}

TEST_F(TRFileCopyTaskFormatTest, VolumeFactsAreNeverFound) {
  foundAtLook = 1000;
  EXPECT_FALSE(format(*task));
  Lines expected;
  for (int attempt = 0; attempt < 10; ++attempt) {
    expected = expected + lines("look", "pause");
  }
  EXPECT_EQ(eventsAfter(kMounted), expected);
}

TEST_F(TRFileCopyTaskFormatTest, CommandsNameThePlayersOwnDisk) {
  const auto other = addDisk("disk5", "/media/q");
  const auto otherTask = collectionFor(roots(), {other})->tasks().at(0);
  EXPECT_TRUE(format(*otherTask));
  const auto calls = ports.scripts.calls();
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_TRUE(calls[0].source.starts_with(
      "do shell script \"dd if=/dev/zero of=/dev/disk5 bs=4k count=10\" user"));
  EXPECT_TRUE(calls[1].source.starts_with("do shell script \"mkfs.fat -F32 /dev/disk5\" user"));
}

TEST_F(TRFileCopyTaskFormatTest, CredentialsAreReadAnewBeforeEachCommand) {
  answerScript = [this](std::size_t number) {
    collection->setUserName("name" + std::to_string(number));
    collection->setUserPass("pass" + std::to_string(number));
    return number == 1 ? failed() : ScriptOutcome{"", {}, {}};
  };
  EXPECT_TRUE(format(*task));
  const auto calls = ports.scripts.calls();
  ASSERT_EQ(calls.size(), 3U);
  const auto credentials = [](const std::string& source) {
    return source.substr(source.find(" user name"));
  };
  EXPECT_EQ(credentials(calls[0].source),
            " user name \"admin\" password \"secret\" with administrator privileges");
  EXPECT_EQ(credentials(calls[1].source),
            " user name \"name1\" password \"pass1\" with administrator privileges");
  EXPECT_EQ(credentials(calls[2].source),
            " user name \"name2\" password \"pass2\" with administrator privileges");
}

TEST_F(TRFileCopyTaskFormatTest, WithoutACollectionTheCredentialsAreAbsent) {
  task = std::make_shared<TRFileCopyTask>(player, roots(), nullptr, nullptr);
  EXPECT_TRUE(format(*task));
  EXPECT_EQ(ports.scripts.calls().at(0).source,
            "do shell script \"dd if=/dev/zero of=/dev/sdb bs=4k count=10\" user name \"(null)\" "
            "password \"(null)\" with administrator privileges");
}

TEST_F(TRFileCopyTaskFormatTest, WithoutAPlayerNothingIsDone) {
  task = std::make_shared<TRFileCopyTask>();
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), lines());
}

// The pauses of a plain run are: unmount poll, after the unmount, after the wipe, mount poll, after
// the refresh.
const std::vector<Lines> kUntilPause{
    {"unmount /dev/sdb", "pause"},
    kOffline,
    kOffline + lines(kWipe, "pause"),
    kOffline + lines(kWipe, "pause", kFormat, "mount /dev/sdb", "pause"),
    kOffline + lines(kWipe, "pause", kFormat, "mount /dev/sdb", "pause", kMounted, "look", "pause"),
};

class TRFileCopyTaskFormatEndingTest : public TRFileCopyTaskFormatTest,
                                       public ::testing::WithParamInterface<std::size_t> {};

TEST_P(TRFileCopyTaskFormatEndingTest,
       PauseThatIsCutShortEndsTheFormatWithoutAnotherCommandOrLogLine) {
  if (GetParam() == 1) {
    endClock();
  }
  atPause = [this](std::size_t number) {
    if (number + 1 == GetParam()) {
      // Counts from the next pause on; this one still completes what is pending.
      ports.clock.end();
    }
    clockEnded = number >= GetParam();
  };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), kUntilPause.at(GetParam() - 1));
}

TEST_P(TRFileCopyTaskFormatEndingTest, EndOfTheProgramDuringAPauseEndsTheFormat) {
  atPause = [this](std::size_t number) {
    if (number == GetParam()) {
      ports.workers.stop();
      clockEnded = true;  // nothing completes any more
    }
  };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), kUntilPause.at(GetParam() - 1));
}

INSTANTIATE_TEST_SUITE_P(AtPause, TRFileCopyTaskFormatEndingTest,
                         ::testing::Range<std::size_t>(1, 6));

TEST_F(TRFileCopyTaskFormatTest, ThirdFailedWipeIsNotLoggedWhenTheProgramEnds) {
  answerScript = [](std::size_t) { return failed(); };
  atPause = [this](std::size_t number) {
    if (number == 5) {
      ports.workers.stop();
    }
  };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), kOffline + lines(kWipe, "pause", kWipe, "pause", kWipe, "pause"));
}

TEST_F(TRFileCopyTaskFormatTest, FailedFormatIsNotLoggedWhenTheProgramEnds) {
  answerScript = [this](std::size_t number) {
    if (number == 2) {
      ports.workers.stop();
      return failed();
    }
    return ScriptOutcome{"", {}, {}};
  };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), kOffline + lines(kWipe, "pause", kFormat));
}

TEST_F(TRFileCopyTaskFormatTest, NoMountIsAskedForWhenTheProgramEndsDuringTheFormat) {
  answerScript = [this](std::size_t number) {
    if (number == 2) {
      ports.workers.stop();
    }
    return ScriptOutcome{"", {}, {}};
  };
  EXPECT_FALSE(format(*task));
  EXPECT_EQ(trace.events(), kOffline + lines(kWipe, "pause", kFormat));
}

}  // namespace
}  // namespace fillstation::test
