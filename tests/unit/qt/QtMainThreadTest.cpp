#include "QtMainThread.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "MainLoop.h"
#include "StopSource.h"
#include "ThreadWorkers.h"

// The ports that have to do with threads and waiting, which all back ends share, together.

namespace fillstation::test {

using std::chrono::hours;
using std::chrono::microseconds;
using std::chrono::milliseconds;

namespace {

void waitUntil(const std::atomic<bool>& flag) {
  while (!flag) {
    std::this_thread::yield();
  }
}

// Long enough for another thread to be where it is going, most of the time.
void giveTime() { std::this_thread::sleep_for(milliseconds(10)); }

// The thread that makes it is the main thread. Its end ends the program and waits for the workers.
class LoopTest : public testing::Test {
 protected:
  ~LoopTest() override { stop.request(); }

  // Runs the body on a worker, and the main loop meanwhile; returns when the body has returned.
  void onWorker(const std::function<void()>& body) {
    std::atomic<bool> returned{false};
    workers.spawn([&] {
      body();
      returned = true;
    });
    runLoopUntil([&] { return returned.load(); });
  }

  StopSource stop;
  QtMainThread mainThread{stop};
  Clock& clock = mainThread;
  ThreadWorkers workers{stop};
};
class MainThreadTest : public LoopTest {};
class ClockTest : public LoopTest {};
class WorkersTest : public LoopTest {};

TEST(MainLoopQueue, RunsInOrderFromTheLoopAndNotInsideTheCall) {
  MainLoopQueue queue;
  std::string order;
  queue.add([&] {
    order += "a";
    queue.add([&] { order += "c"; });
  });
  queue.add([&] { order += "b"; });
  EXPECT_EQ(order, "");
  QCoreApplication::processEvents();
  EXPECT_EQ(order, "ab") << "one pass leaves what is added during it";
  QCoreApplication::processEvents();
  EXPECT_EQ(order, "abc");
  runLoopDry();
  EXPECT_EQ(order, "abc");
}

TEST(MainLoopQueue, NestedLoopsGoOnWithTheRest) {
  MainLoopQueue queue;
  std::string order;
  queue.add([&] {
    order += "(";
    queue.add([&] { order += "c"; });
    runLoopUntil([&] { return order.size() == 3; });
    order += ")";
  });
  queue.add([&] { order += "b"; });
  runLoopUntil([&] { return order.ends_with(")"); });
  EXPECT_EQ(order, "(bc)");
  queue.add([&] { order += "d"; });
  runLoopDry();
  EXPECT_EQ(order, "(bc)d");
}

TEST(MainLoopQueue, WakesALoopThatWaits) {
  MainLoopQueue queue;
  bool ran = false;
  std::thread other([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    queue.add([&] { ran = true; });
  });
  while (!ran) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
  }
  other.join();
}

TEST(MainLoopQueue, LetsTheLoopRestWhenItIsEmpty) {
  MainLoopQueue queue;
  queue.add([] {});
  queue.add([] {});
  int passes = 0;
  while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents) &&
         passes < 1000) {
    ++passes;
  }
  EXPECT_LT(passes, 1000);
}

TEST(MainLoopQueue, KeepsTheOrderOfEachThread) {
  MainLoopQueue queue;
  std::string letters;
  std::string digits;
  const auto addEach = [&queue](std::string& order, const std::string& names) {
    for (const char name : names) {
      queue.add([&order, name] { order += name; });
    }
  };
  std::thread first([&] { addEach(letters, "abcdefghijklmnopqrstuvwxyz"); });
  std::thread second([&] { addEach(digits, "01234567890123456789"); });
  runLoopUntil([&] { return letters.size() + digits.size() == 46; });
  first.join();
  second.join();
  EXPECT_EQ(letters, "abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(digits, "01234567890123456789");
}

TEST(MainLoopQueue, DestroysACallableBeforeTheNextBeginsAndNeverRunsTheRest) {
  auto queue = std::make_unique<MainLoopQueue>();
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  bool gone = false;
  queue->add([held = std::move(held)] {});
  queue->add([&] { gone = watched.expired(); });
  runLoopDry();
  EXPECT_TRUE(gone);
  queue->add([&] { gone = false; });
  queue.reset();
  runLoopDry();
  EXPECT_TRUE(gone);
}

TEST_F(MainThreadTest, PostsInOrderForTheLoopAndDropsPostsOnceStopped) {
  std::string order;
  mainThread.post([&] { order += "a"; });
  std::thread([&] { mainThread.post([&] { order += "b"; }); }).join();
  EXPECT_EQ(order, "");
  mainThread.runPending();
  EXPECT_EQ(order, "ab");
  mainThread.post([&] { order += "c"; });
  stop.request();
  mainThread.post([&] { order += "d"; });
  runLoopDry();
  EXPECT_EQ(order, "ab");
}

// The moment between the request and its news reaching the thread that waits.
TEST_F(MainThreadTest, NothingBeginsWhileTheRequestIsStillSpreading) {
  bool ran = false;
  bool answer = true;
  std::atomic<bool> begun{false};
  std::thread other([&] {
    begun = true;
    answer = mainThread.runAndWait([&] { ran = true; });
  });
  waitUntil(begun);
  giveTime();
  // Of callbacks the latest runs first.
  const StopSource::Callback spreading(stop.token(), [] { runLoopDry(); });
  stop.request();
  other.join();
  EXPECT_FALSE(answer);
  EXPECT_FALSE(ran);
  runLoopDry();
  EXPECT_FALSE(ran);
}

TEST_F(MainThreadTest, RunsThereAndReturnsAfterwards) {
  const auto main = std::this_thread::get_id();
  onWorker([&] {
    std::thread::id ranOn;
    EXPECT_TRUE(mainThread.runAndWait([&] {
      giveTime();
      ranOn = std::this_thread::get_id();
    }));
    EXPECT_EQ(ranOn, main);
    EXPECT_NE(ranOn, std::this_thread::get_id());
  });
}

TEST_F(MainThreadTest, OnTheMainThreadTheCallableSimplyRunsEvenAtTheEnd) {
  int runs = 0;
  EXPECT_TRUE(mainThread.runAndWait([&] { ++runs; }));
  stop.request();
  EXPECT_TRUE(mainThread.runAndWait([&] { ++runs; }));
  EXPECT_EQ(runs, 2);
}

TEST_F(MainThreadTest, AWaitingCallableNeverRunsAtTheEnd) {
  bool ran = false;
  std::atomic<bool> begun{false};
  std::atomic<bool> answered{false};
  workers.spawn([&] {
    begun = true;
    EXPECT_FALSE(mainThread.runAndWait([&] { ran = true; }));
    EXPECT_FALSE(mainThread.runAndWait([&] { ran = true; })) << "after the end";
    answered = true;
  });
  waitUntil(begun);
  giveTime();
  stop.request();
  waitUntil(answered);
  runLoopDry();
  EXPECT_FALSE(ran);
}

TEST_F(MainThreadTest, ARunningCallableIsWaitedForAtTheEnd) {
  onWorker([&] {
    bool finished = false;
    EXPECT_TRUE(mainThread.runAndWait([&] {
      stop.request();
      giveTime();
      finished = true;
    }));
    EXPECT_TRUE(finished);
  });
}

TEST_F(MainThreadTest, LongWorkLetsTheWindowActAgainAndAgain) {
  QtMainThread hurried(stop, milliseconds(1));
  QObject window;
  for (int look = 0; look < 2; ++look) {
    bool acted = false;
    QMetaObject::invokeMethod(
        &window, [&] { acted = true; }, Qt::QueuedConnection);
    while (!acted) {
      hurried.keepWindowAlive();
    }
  }
}

TEST_F(ClockTest, EveryThreadWaitsForTheWholeDuration) {
  const auto wait = [&] {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(clock.sleep(microseconds(1500)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, microseconds(1500));
  };
  wait();
  onWorker(wait);
}

TEST_F(ClockTest, ZeroOrLessIsNoPause) {
  std::atomic<bool> begun{false};
  std::atomic<bool> ran{false};
  workers.spawn([&] {
    begun = true;
    mainThread.runAndWait([&] { ran = true; });
  });
  waitUntil(begun);
  giveTime();
  EXPECT_TRUE(clock.sleep(microseconds(0)));
  EXPECT_TRUE(clock.sleep(microseconds(-1)));
  EXPECT_TRUE(clock.sleep(-hours(1)));
  EXPECT_FALSE(ran);
  runLoopUntil([&] { return ran.load(); });
  onWorker([&] {
    EXPECT_TRUE(clock.sleep(microseconds(0)));
    EXPECT_TRUE(clock.sleep(-hours(1)));
  });
}

TEST_F(ClockTest, TheEndEndsThePausesOfTheMainThreadNestedOnesIncluded) {
  std::atomic<bool> pausing{false};
  bool inner = true;
  workers.spawn([&] {
    mainThread.runAndWait([&] {
      pausing = true;
      inner = clock.sleep(hours(1));
    });
  });
  workers.spawn([&] {
    waitUntil(pausing);
    giveTime();
    stop.request();
  });
  EXPECT_FALSE(clock.sleep(hours(1)));
  EXPECT_TRUE(pausing);
  EXPECT_FALSE(inner);
}

TEST_F(ClockTest, TheEndCutsAPauseAfterFinishedOnes) {
  EXPECT_TRUE(clock.sleep(milliseconds(1)));
  EXPECT_TRUE(clock.sleep(milliseconds(1)));
  workers.spawn([&] { mainThread.runAndWait([&] { stop.request(); }); });
  EXPECT_FALSE(clock.sleep(hours(1)));
}

TEST_F(ClockTest, TheEndEndsAWorkersPause) {
  std::atomic<bool> pausing{false};
  std::atomic<bool> ended{false};
  workers.spawn([&] {
    pausing = true;
    EXPECT_FALSE(clock.sleep(hours(1)));
    ended = true;
  });
  waitUntil(pausing);
  giveTime();
  stop.request();
  waitUntil(ended);
}

TEST_F(ClockTest, AfterTheEndThereIsNoPause) {
  stop.request();
  EXPECT_FALSE(clock.sleep(hours(1)));
  EXPECT_FALSE(clock.sleep(microseconds(0)));
  onWorker([&] {
    EXPECT_FALSE(clock.sleep(hours(1)));
    EXPECT_FALSE(clock.sleep(microseconds(0)));
  });
}

TEST_F(WorkersTest, KnowWhenTheProgramEnds) {
  EXPECT_FALSE(workers.stopping());
  stop.request();
  EXPECT_TRUE(workers.stopping());
}

}  // namespace
}  // namespace fillstation::test
