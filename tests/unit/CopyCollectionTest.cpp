#include "CopyRig.h"

#include <latch>
#include <limits>

namespace fillstation::test {
namespace {

class TRFileCopyTaskCollectionTest : public CopyTest {
 protected:
  // A collection of tasks at these percentages.
  std::shared_ptr<TRFileCopyTaskCollection> at(const std::vector<std::int64_t>& percentages) {
    auto made = collectionFor(roots(), std::vector(percentages.size(), addDisk("sdb", "/media/p")));
    for (std::size_t index = 0; index < percentages.size(); ++index) {
      made->tasks().at(index)->setCurrentProgress(percentages.at(index));
    }
    return made;
  }
  // Makes the reports to these about that collection the process's.
  std::shared_ptr<Reports> reportsOf(const std::shared_ptr<TRFileCopyTaskCollection>& made) {
    const auto reports = std::make_shared<Reports>();
    start(*collectionFor(roots(), {}), reports, made);
    finish(*reports);
    return reports;
  }
};

TEST_F(TRFileCopyTaskCollectionTest, PropertiesKeepTheirValuesAndTheListObject) {
  const auto list = roots({fileRoot("/a", 1)});
  const auto made = std::make_shared<TRFileCopyTaskCollection>(list, "admin", "secret");
  EXPECT_EQ(made->files(), list);
  EXPECT_EQ(made->userName(), "admin");
  EXPECT_EQ(made->userPass(), "secret");
  EXPECT_TRUE(made->tasks().empty());
  EXPECT_FALSE(made->progress());
  const auto other = roots();
  made->setFiles(other);
  made->setUserName("other");
  made->setUserPass(std::nullopt);
  made->setProgress(Number(7));
  EXPECT_EQ(made->files(), other);
  EXPECT_EQ(made->userName(), "other");
  EXPECT_EQ(made->userPass(), std::nullopt);
  EXPECT_EQ(made->progress().value(), 7);
}

TEST_F(TRFileCopyTaskCollectionTest, EachPlayerGetsATaskInTheOrderOfTheCallsAlsoTwice) {
  const auto first = addDisk("sdb", "/media/p");
  const auto second = addDisk("sdc", "/media/q");
  const auto list = roots({fileRoot("/a", 12)});
  const auto made = collectionFor(list, {first, second, first});
  const auto tasks = made->tasks();
  ASSERT_EQ(tasks.size(), 3U);
  EXPECT_EQ(tasks[0]->player(), first);
  EXPECT_EQ(tasks[1]->player(), second);
  EXPECT_EQ(tasks[2]->player(), first);
  EXPECT_NE(tasks[0], tasks[2]);
  EXPECT_EQ(tasks[0]->totalSize(), 12);
  EXPECT_EQ(*tasks[0]->files(), *list);
  EXPECT_EQ(tasks[0]->taskGroup(), made);
  EXPECT_EQ(TRFileCopyTask::sharedLocker(), TRFileCopyTaskCollection::sharedLock());
}

TEST_F(TRFileCopyTaskCollectionTest, ProgressIsTheAverageTruncatedOfA32BitSumDividedAsUnsigned) {
  constexpr std::int64_t k2To32 = std::int64_t{1} << 32;
  const std::vector<std::pair<std::vector<std::int64_t>, std::int64_t>> cases{
      {{10}, 10},
      {{100, 50, 0}, 50},
      {{33, 33, 34}, 33},
      {{99, 100}, 99},
      {{k2To32 + 60, 40}, 50},
      {{std::numeric_limits<std::int64_t>::max(), 1}, 0},
      {{-1}, -1},
      // 2^64 - 2 divided by 2, and the low 32 bits of that.
      {{-1, -1}, -1},
      {{-4, 0, 0, 0}, -1}};
  for (const auto& [percentages, expected] : cases) {
    const auto made = at(percentages);
    made->updateProgress();
    EXPECT_EQ(made->progress().value(), expected);
  }
}

TEST_F(TRFileCopyTaskCollectionTest, CollectionWithoutPlayersReportsItsResultOnceAndNoProgress) {
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {});
  const auto reports = run(*made);
  made->updateProgress();
  EXPECT_EQ(reports->resultContexts, std::vector<std::shared_ptr<void>>{made});
  EXPECT_TRUE(reports->progress.empty());
  EXPECT_FALSE(made->progress());
  EXPECT_EQ(trace.texts(), Lines{});
}

TEST_F(TRFileCopyTaskCollectionTest, RunKeepsItsCollectionAlive) {
  auto made = collectionFor(roots(), {addDisk("sdb", "/media/p")});
  const std::weak_ptr<TRFileCopyTaskCollection> watched = made;
  const auto reports = std::make_shared<Reports>();
  start(*made, reports, collectionFor(roots(), {}));
  made.reset();
  finish(*reports);
  EXPECT_EQ(eventsAfter("log copy Done!!!\n"), Lines{"log done\n"});
  EXPECT_TRUE(watched.expired());
}

TEST_F(TRFileCopyTaskCollectionTest, BothReportsRunOnTheMainThreadWithTheReceiverAndTheContext) {
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {addDisk("sdb", "/media/p")});
  const auto reports = run(*made);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
  EXPECT_EQ(reports->resultContexts, std::vector<std::shared_ptr<void>>{made});
  EXPECT_EQ(reports->threads,
            (std::vector<std::thread::id>{std::this_thread::get_id(), std::this_thread::get_id()}));
}

TEST_F(TRFileCopyTaskCollectionTest, ManyPlayersAreFilledAtTheSameTimeAndTheResultIsReportedOnce) {
  // Each task's wipe waits until every task is there.
  constexpr std::size_t kPlayers = 12;
  std::latch all(kPlayers);
  ports.scripts.answer = [&](std::size_t, const TestScriptRunner::Call& call) {
    if (call.source.find("zero") != std::string::npos) {
      all.arrive_and_wait();
    }
    return ScriptOutcome{"", {}, {}};
  };
  ports.disks.complete = nullptr;
  std::vector<std::shared_ptr<TRPlayer>> players;
  for (std::size_t index = 0; index < kPlayers; ++index) {
    const std::string number = std::to_string(index);
    players.push_back(addDisk("sd" + number, "/media/" + number));
  }
  const auto made = collectionFor(
      roots({folderRoot("/s", {folder("/s/d", "d/"), file("/s/d/a", "d/a", 3)})}), players);
  const auto reports = std::make_shared<Reports>();
  std::ptrdiff_t doneAtResult = 0;
  reports->onResult = [&] { doneAtResult = count("log done\n"); };
  run(*made, reports);
  for (std::size_t index = 0; index < kPlayers; ++index) {
    EXPECT_EQ(count("copy /s/d/a -> /media/" + std::to_string(index) + "/d/a"), 1);
    EXPECT_EQ(made->tasks().at(index)->currentProgress(), 100);
    EXPECT_FALSE(made->tasks().at(index)->error());
  }
  EXPECT_EQ(static_cast<std::size_t>(doneAtResult), kPlayers);
  EXPECT_EQ(reports->resultContexts.size(), 1U);
  EXPECT_EQ(reports->progress.size(), 2 * kPlayers);
  EXPECT_TRUE(std::is_sorted(reports->progress.begin(), reports->progress.end()));
  EXPECT_EQ(reports->progress.back(), 100);
}

TEST_F(TRFileCopyTaskCollectionTest, SharedLockIsHeldDuringAProgressReportAndNotDuringTheResult) {
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {addDisk("sdb", "/media/p")});
  const auto lock = TRFileCopyTaskCollection::sharedLock();
  const auto reports = std::make_shared<Reports>();
  std::vector<bool> couldLock;
  const auto look = [&] {
    const std::unique_lock attempt(*lock, std::try_to_lock);
    couldLock.push_back(attempt.owns_lock());
  };
  reports->onProgress = look;
  reports->onResult = look;
  run(*made, reports);
  EXPECT_EQ(couldLock, (std::vector<bool>{false, true}));
}

TEST_F(TRFileCopyTaskCollectionTest, AverageIsTakenWhenAReportIsShownAndNotBeforeItWaits) {
  const auto made = at({10, 20});
  const auto reports = reportsOf(made);
  std::thread first([&] { made->updateProgress(); });
  std::thread second([&] { made->updateProgress(); });
  ports.mainThread.awaitQueued();
  made->tasks().at(1)->setCurrentProgress(90);
  ports.mainThread.runUntil([&] { return reports->progress.size() == 2; });
  first.join();
  second.join();
  EXPECT_EQ(reports->progress, (std::vector<std::int64_t>{50, 50}));
}

TEST_F(TRFileCopyTaskCollectionTest, SecondStartTakesOverTheRemainingReportsOfTheFirst) {
  const auto list = roots({folderRoot(
      "/s", {file("/s/a", "a"), file("/s/b", "b"), file("/s/c", "c"), file("/s/d", "d")})});
  const auto first = collectionFor(list, {addDisk("sdb", "/media/p")});
  const auto second = collectionFor(roots(), {});
  second->setProgress(Number(77));
  const auto firstReports = std::make_shared<Reports>();
  const auto secondReports = std::make_shared<Reports>();
  firstReports->onProgress = [&] {
    // From within a report: no lock of the targets may be held now.
    start(*second, secondReports);
  };
  start(*first, firstReports);
  ports.mainThread.runUntil([&] { return secondReports->resultContexts.size() == 2; });
  EXPECT_EQ(firstReports->progress, std::vector<std::int64_t>{25});
  EXPECT_TRUE(firstReports->resultContexts.empty());
  // The context is the second collection, whose progress never changes.
  EXPECT_EQ(secondReports->progress, (std::vector<std::int64_t>{77, 77, 77}));
  EXPECT_EQ(secondReports->resultContexts, (std::vector<std::shared_ptr<void>>{second, second}));
  EXPECT_EQ(first->progress().value(), 100);
}

TEST_F(TRFileCopyTaskCollectionTest, TargetsStayAfterTheRunUntilTheyAreReplaced) {
  auto made = collectionFor(roots(), {});
  const std::weak_ptr<TRFileCopyTaskCollection> watched = made;
  auto reports = run(*made);
  const std::weak_ptr<Reports> receiver = reports;
  made.reset();
  reports.reset();
  EXPECT_FALSE(watched.expired());
  EXPECT_FALSE(receiver.expired());
  run(*collectionFor(roots(), {}));
  EXPECT_TRUE(watched.expired());
  EXPECT_TRUE(receiver.expired());
}

TEST_F(TRFileCopyTaskCollectionTest, ReplacedTargetsAreLetGoOnTheMainThread) {
  std::vector<std::thread::id> letGoOn;
  const auto target = [&letGoOn] {
    return std::shared_ptr<void>(new int(0), [&letGoOn](int* held) {
      letGoOn.push_back(std::this_thread::get_id());
      delete held;
    });
  };
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {addDisk("sdb", "/media/p")});
  const auto next = collectionFor(roots(), {});
  std::atomic<int> results{0};
  const auto result = [&results](const auto&, const auto&) { ++results; };
  const auto replace = [&](const auto&, const auto&) {
    next->startAsyncCopyWithCallBack(nullptr, result, {}, nullptr);
  };
  made->startAsyncCopyWithCallBack(target(), result, replace, target());
  ports.mainThread.runUntil([&] { return results == 2; });
  ports.workers.join();
  EXPECT_EQ(letGoOn, std::vector(2, std::this_thread::get_id()));
}

TEST_F(TRFileCopyTaskCollectionTest, HandOversThatReturnUndeliveredEndTheRun) {
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {addDisk("sdb", "/media/p")});
  const auto reports = std::make_shared<Reports>();
  ports.end();
  clockEnded = true;
  start(*made, reports);
  ports.workers.join();
  EXPECT_TRUE(made->tasks().at(0)->error());
  EXPECT_TRUE(reports->threads.empty());
}

}  // namespace
}  // namespace fillstation::test
