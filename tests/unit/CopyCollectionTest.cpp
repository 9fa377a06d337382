#include "CopyRig.h"

#include <condition_variable>
#include <limits>

namespace fillstation::test {
namespace {

// Runs each callable on the thread that asks, so that reports overlap unless somebody prevents it.
class NoMainThread : public MainThread {
 public:
  bool runAndWait(const std::function<void()>& callable) override {
    callable();
    return true;
  }
  void runPending() override {}
};

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
  static std::int64_t combined(const std::shared_ptr<TRFileCopyTaskCollection>& collection) {
    collection->updateProgress();
    return collection->progress().value();
  }
};

TEST_F(TRFileCopyTaskCollectionTest, NewCollectionHoldsTheVeryListAndTheCredentials) {
  const auto list = roots({fileRoot("/a", 1)});
  const auto made = std::make_shared<TRFileCopyTaskCollection>(list, "admin", "secret");
  EXPECT_EQ(made->files(), list);
  EXPECT_EQ(made->userName(), "admin");
  EXPECT_EQ(made->userPass(), "secret");
  EXPECT_TRUE(made->tasks().empty());
  EXPECT_FALSE(made->progress());
}

TEST_F(TRFileCopyTaskCollectionTest, EveryPropertyCanBeSet) {
  const auto made = collectionFor(roots(), {});
  const auto list = roots();
  made->setFiles(list);
  made->setUserName("other");
  made->setUserPass(std::nullopt);
  made->setProgress(Number(7));
  EXPECT_EQ(made->files(), list);
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

TEST_F(TRFileCopyTaskCollectionTest, SharedLockIsMadeOnce) {
  EXPECT_NE(TRFileCopyTaskCollection::sharedLock(), nullptr);
  EXPECT_EQ(TRFileCopyTaskCollection::sharedLock(), TRFileCopyTaskCollection::sharedLock());
}

TEST_F(TRFileCopyTaskCollectionTest, TasksAt100And50And0AreAt50) {
  EXPECT_EQ(combined(at({100, 50, 0})), 50);
}

TEST_F(TRFileCopyTaskCollectionTest, TasksAt33And33And34AreAt33) {
  EXPECT_EQ(combined(at({33, 33, 34})), 33);
}

TEST_F(TRFileCopyTaskCollectionTest, AverageIsTruncated) { EXPECT_EQ(combined(at({99, 100})), 99); }

TEST_F(TRFileCopyTaskCollectionTest, SumIsKeptTo32Bits) {
  EXPECT_EQ(combined(at({(std::int64_t{1} << 32) + 60, 40})), 50);
  EXPECT_EQ(combined(at({std::numeric_limits<std::int64_t>::max(), 1})), 0);
}

TEST_F(TRFileCopyTaskCollectionTest, SumWithTheSignBitIsDividedAsUnsigned) {
  EXPECT_EQ(combined(at({-1})), -1);
  // 2^64 - 2 divided by 2, and the low 32 bits of that.
  EXPECT_EQ(combined(at({-1, -1})), -1);
  EXPECT_EQ(combined(at({-4, 0, 0, 0})), -1);
}

TEST_F(TRFileCopyTaskCollectionTest, OneTaskThatFailedItsFormatAndOneAt0AreAt50) {
  const auto list = roots({fileRoot("/a", 10)});
  const auto made = collectionFor(list, {addDisk("sdb", "/media/p"), addDisk("sdc", "/media/q")});
  answerScript = [](std::size_t) { return ScriptOutcome{{}, 1, "failed"}; };
  runOnWorker([&] { made->tasks().at(0)->copyTask(); });
  EXPECT_TRUE(made->tasks().at(0)->error());
  EXPECT_EQ(made->progress().value(), 50);
}

TEST_F(TRFileCopyTaskCollectionTest, ReportBeforeAnyStartTellsNobody) {
  const auto made = at({10});
  made->updateProgress();
  EXPECT_EQ(made->progress().value(), 10);
}

TEST_F(TRFileCopyTaskCollectionTest, CollectionWithoutTasksHasNoProgressToReport) {
  const auto made = at({});
  const auto reports = run(made);
  made->updateProgress();
  EXPECT_FALSE(made->progress());
  EXPECT_TRUE(reports->progress.empty());
}

TEST_F(TRFileCopyTaskCollectionTest, CollectionWithoutPlayersReportsItsResultOnceAndNoProgress) {
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {});
  const auto reports = run(made);
  EXPECT_EQ(reports->resultContexts, std::vector<std::shared_ptr<void>>{made});
  EXPECT_TRUE(reports->progress.empty());
  EXPECT_FALSE(made->progress());
  EXPECT_EQ(trace.events(), Lines{});
}

TEST_F(TRFileCopyTaskCollectionTest, StartReturnsAtOnceWithTheRunOnAThreadOfItsOwn) {
  const auto made = collectionFor(roots(), {});
  const auto reports = std::make_shared<Reports>();
  made->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress, made);
  EXPECT_EQ(ports.workers.spawned(), 1U);
  EXPECT_TRUE(reports->resultContexts.empty());
  ports.mainThread.runUntil([&] { return !reports->resultContexts.empty(); });
}

TEST_F(TRFileCopyTaskCollectionTest, RunKeepsItsCollectionAlive) {
  auto made = collectionFor(roots(), {addDisk("sdb", "/media/p")});
  const std::weak_ptr<TRFileCopyTaskCollection> watched = made;
  const auto reports = std::make_shared<Reports>();
  made->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, {}, nullptr);
  made.reset();
  ports.mainThread.runUntil([&] { return !reports->resultContexts.empty(); });
  ports.workers.join();
  EXPECT_EQ(eventsAfter("log copy Done!!!\n"), Lines{"log done\n"});
  EXPECT_TRUE(watched.expired());
}

TEST_F(TRFileCopyTaskCollectionTest, BothReportsComeOnTheMainThreadWithTheReceiverAndTheContext) {
  const auto made = collectionFor(roots({fileRoot("/a", 10)}), {addDisk("sdb", "/media/p")});
  const auto reports = run(made);
  EXPECT_EQ(reports->progress, std::vector<std::int64_t>{100});
  EXPECT_EQ(reports->resultContexts, std::vector<std::shared_ptr<void>>{made});
  EXPECT_EQ(reports->threads,
            (std::vector<std::thread::id>{std::this_thread::get_id(), std::this_thread::get_id()}));
}

TEST_F(TRFileCopyTaskCollectionTest, ResultComesOnceAfterTheLastTask) {
  const auto made = collectionFor(
      roots({folderRoot("/s", {file("/s/a", "a")})}),
      {addDisk("sdb", "/media/p"), addDisk("sdc", "/media/q"), addDisk("sdd", "/media/r")});
  const auto reports = std::make_shared<Reports>();
  Lines atResult;
  reports->onResult = [&] { atResult = logTexts(); };
  made->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress, made);
  ports.mainThread.runUntil([&] { return !reports->resultContexts.empty(); });
  ports.workers.join();
  EXPECT_EQ(reports->resultContexts.size(), 1U);
  EXPECT_EQ(std::count(atResult.begin(), atResult.end(), "done\n"), 3);
  EXPECT_EQ(reports->progress.size(), 3U);
  EXPECT_EQ(reports->progress.back(), 100);
}

TEST_F(TRFileCopyTaskCollectionTest, TasksRunAllAtTheSameTime) {
  // Each task's first command waits until every task has come so far.
  constexpr std::size_t kTasks = 12;
  std::mutex lock;
  std::condition_variable all;
  std::size_t arrived = 0;
  ports.scripts.answer = [&](std::size_t, const TestScriptRunner::Call&) {
    std::unique_lock guard(lock);
    ++arrived;
    all.notify_all();
    all.wait(guard, [&] { return arrived >= kTasks; });
    return ScriptOutcome{{}, 1, "failed"};
  };
  std::vector<std::shared_ptr<TRPlayer>> players;
  for (std::size_t index = 0; index < kTasks; ++index) {
    players.push_back(addDisk("sd" + std::to_string(index), "/media/p"));
  }
  const auto made = collectionFor(roots(), players);
  run(made);
  for (const auto& task : made->tasks()) {
    EXPECT_TRUE(task->error());
  }
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
  made->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress, made);
  ports.mainThread.runUntil([&] { return !reports->resultContexts.empty(); });
  EXPECT_EQ(couldLock, (std::vector<bool>{false, true}));
}

TEST_F(TRFileCopyTaskCollectionTest, ReportsNeverOverlapAndArriveInTheOrderOfTheLock) {
  constexpr std::size_t kTasks = 8;
  constexpr std::int64_t kBytes = 100;
  NoMainThread everyThread;
  const auto made =
      collectionFor(roots({fileRoot("/a", kBytes)}), std::vector(kTasks, addDisk("sdb", "/p")));
  std::atomic<bool> inside{false};
  std::atomic<int> overlaps{0};
  const auto reports = std::make_shared<Reports>();
  reports->onProgress = [&] {
    overlaps += inside.exchange(true) ? 1 : 0;
    std::this_thread::yield();
    inside = false;
  };
  const auto idle = collectionFor(roots(), {});
  idle->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress, made);
  ports.mainThread.runUntil([&] { return !reports->resultContexts.empty(); });
  platform().mainThread = &everyThread;
  std::vector<std::thread> workers;
  for (const auto& task : made->tasks()) {
    workers.emplace_back([task] {
      for (std::int64_t byte = 0; byte < kBytes; ++byte) {
        task->updateProgressWith(1);
      }
    });
  }
  for (auto& worker : workers) {
    worker.join();
  }
  platform().mainThread = &ports.mainThread;
  EXPECT_EQ(overlaps, 0);
  ASSERT_EQ(reports->progress.size(), kTasks * static_cast<std::size_t>(kBytes));
  // A figure is taken and shown under one hold of the lock, so it never steps back.
  EXPECT_TRUE(std::is_sorted(reports->progress.begin(), reports->progress.end()));
  EXPECT_EQ(reports->progress.back(), 100);
}

TEST_F(TRFileCopyTaskCollectionTest, AverageIsTakenWhenAReportIsShownAndNotBeforeItWaits) {
  const auto made = at({10, 20});
  const auto reports = std::make_shared<Reports>();
  const auto idle = collectionFor(roots(), {});
  idle->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress, made);
  ports.mainThread.runUntil([&] { return !reports->resultContexts.empty(); });
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
    second->startAsyncCopyWithCallBack(secondReports, Reports::onCopyResult,
                                       Reports::updateProgress, second);
  };
  first->startAsyncCopyWithCallBack(firstReports, Reports::onCopyResult, Reports::updateProgress,
                                    first);
  ports.mainThread.runUntil([&] { return secondReports->resultContexts.size() == 2; });
  EXPECT_EQ(firstReports->progress, std::vector<std::int64_t>{25});
  EXPECT_TRUE(firstReports->resultContexts.empty());
  // The context is the second collection, whose figure nobody changes.
  EXPECT_EQ(secondReports->progress, (std::vector<std::int64_t>{77, 77, 77}));
  EXPECT_EQ(secondReports->resultContexts, (std::vector<std::shared_ptr<void>>{second, second}));
  EXPECT_EQ(first->progress().value(), 100);
}

TEST_F(TRFileCopyTaskCollectionTest, TargetsStayAfterTheRunUntilTheyAreReplaced) {
  auto made = collectionFor(roots(), {});
  const std::weak_ptr<TRFileCopyTaskCollection> watched = made;
  auto reports = run(made);
  const std::weak_ptr<Reports> receiver = reports;
  made.reset();
  reports.reset();
  EXPECT_FALSE(watched.expired());
  EXPECT_FALSE(receiver.expired());
  run(collectionFor(roots(), {}));
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
  made->startAsyncCopyWithCallBack(reports, Reports::onCopyResult, Reports::updateProgress, made);
  ports.workers.join();
  EXPECT_TRUE(made->tasks().at(0)->error());
  EXPECT_TRUE(reports->threads.empty());
}

}  // namespace
}  // namespace fillstation::test
