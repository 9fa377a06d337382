#include "CopyRig.h"

// What one player's whole run writes to the system log, text by text.

namespace fillstation::test {
namespace {

class CopyRunTest : public CopyTest {
 protected:
  Lines logOfRun() {
    const auto collection = collectionFor(list, {player});
    task = collection->tasks().at(0);
    reports = run(collection);
    return logTexts();
  }
  std::size_t pausesOfASecond() const {
    const Lines all = trace.events();
    return static_cast<std::size_t>(std::count(all.begin(), all.end(), "pause"));
  }
  void failScripts(std::size_t first, std::size_t last) {
    answerScript = [first, last](std::size_t number) {
      return number >= first && number <= last ? ScriptOutcome{{}, 1, "failed"}
                                               : ScriptOutcome{"", {}, {}};
    };
  }

  std::shared_ptr<TRPlayer> player = addDisk("sdb", "/media/PLAYER");
  std::shared_ptr<TRFileList> list = roots(
      {folderRoot("/home/a/Audio", {folder("/home/a/Audio/My Album", "My%20Album/"),
                                    file("/home/a/Audio/My Album/01.mp3", "My%20Album/01.mp3", 6),
                                    file("/home/a/Audio/bad.mp3", "bad.mp3", 2)}),
       fileRoot("/home/a/song.mp3", 2)});
  std::shared_ptr<TRFileCopyTask> task;
  std::shared_ptr<Reports> reports;
};

const Lines kWhole{"Beginning operation.\n",
                   "Beginning format operation.\n",
                   "\nDevice /dev/sdb unmounted\n",
                   "\nDevice /dev/sdb mounted\n",
                   "Beginning copyTask operation.\n",
                   "Copy /home/a/Audio/My Album\n",
                   "Copy /home/a/Audio/My Album/01.mp3\n",
                   "Copy successful",
                   "Copy /home/a/Audio/bad.mp3\n",
                   "Copy successful",
                   "Copy /home/a/song.mp3\n",
                   "Copy successful",
                   "copy Done!!!\n",
                   "done\n"};

TEST_F(CopyRunTest, EverythingSucceeds) {
  EXPECT_EQ(logOfRun(), kWhole);
  EXPECT_FALSE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 60, 80, 100}));
  EXPECT_EQ(pausesOfASecond(), 5U);
}

TEST_F(CopyRunTest, CopiesFail) {
  files.failing = {"copy /home/a/Audio/bad.mp3 -> /media/PLAYER/bad.mp3",
                   "copy /home/a/song.mp3 -> /media/PLAYER"};
  Lines expected = kWhole;
  expected.at(9) = "Copy failed";
  expected.at(11) = "Copy failed";
  EXPECT_EQ(logOfRun(), expected);
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{0, 60, 80, 100}));
}

TEST_F(CopyRunTest, WipeFailsOnce) {
  failScripts(1, 1);
  EXPECT_EQ(logOfRun(), kWhole);
  EXPECT_FALSE(task->error());
  EXPECT_EQ(pausesOfASecond(), 6U);
}

TEST_F(CopyRunTest, WipeFailsThrice) {
  failScripts(1, 3);
  EXPECT_EQ(logOfRun(),
            (Lines{"Beginning operation.\n", "Beginning format operation.\n",
                   "\nDevice /dev/sdb unmounted\n", "dd operation failed.\n", "done\n"}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(CopyRunTest, FormatFails) {
  failScripts(2, 2);
  EXPECT_EQ(logOfRun(),
            (Lines{"Beginning operation.\n", "Beginning format operation.\n",
                   "\nDevice /dev/sdb unmounted\n", "newfs_msdos operation failed.\n", "done\n"}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(CopyRunTest, VolumeFactsAreFoundAtTheFourthRefresh) {
  foundAtLook = 4;
  EXPECT_EQ(logOfRun(), kWhole);
  EXPECT_FALSE(task->error());
  EXPECT_EQ(pausesOfASecond(), 8U);
}

TEST_F(CopyRunTest, VolumeFactsAreNeverFound) {
  foundAtLook = 1000;
  EXPECT_EQ(logOfRun(),
            (Lines{"Beginning operation.\n", "Beginning format operation.\n",
                   "\nDevice /dev/sdb unmounted\n", "\nDevice /dev/sdb mounted\n", "done\n"}));
  EXPECT_TRUE(task->error());
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
}

TEST_F(CopyRunTest, RefusedMountAndUnmountGoOnAllTheSame) {
  ports.disks.refuse = [](const TestDisks::Request&) { return Dissenter{"busy"}; };
  EXPECT_EQ(logOfRun(), kWhole);
  EXPECT_FALSE(task->error());
}

TEST_F(CopyRunTest, ManyPlayersAreFilledEachOnItsOwnVolume) {
  constexpr std::size_t kPlayers = 10;
  std::vector<std::shared_ptr<TRPlayer>> players;
  for (std::size_t index = 0; index < kPlayers; ++index) {
    const std::string number = std::to_string(index);
    players.push_back(addDisk("sd" + number, "/media/" + number));
  }
  ports.disks.complete = nullptr;
  const auto collection = collectionFor(list, players);
  reports = run(collection);
  const Lines events = trace.events();
  for (std::size_t index = 0; index < kPlayers; ++index) {
    const std::string path = "/media/" + std::to_string(index);
    EXPECT_EQ(std::count(events.begin(), events.end(),
                         "copy /home/a/Audio/My Album/01.mp3 -> " + path + "/My Album/01.mp3"),
              1);
    EXPECT_EQ(collection->tasks().at(index)->currentProgress(), 100);
    EXPECT_FALSE(collection->tasks().at(index)->error());
  }
  EXPECT_EQ(reports->progress.size(), kPlayers * 4);
  EXPECT_TRUE(std::is_sorted(reports->progress.begin(), reports->progress.end()));
  EXPECT_EQ(reports->progress.back(), 100);
  EXPECT_EQ(reports->resultContexts.size(), 1U);
}

}  // namespace
}  // namespace fillstation::test
