#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "MainLoop.h"
#include "QtMainThread.h"
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

  // Runs the body on a worker and the main loop meanwhile; returns when the body has returned.
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
  QtClock clock{stop};
  ThreadWorkers workers{stop};
};
class MainThreadTest : public LoopTest {};
class ClockTest : public LoopTest {};
class WorkersTest : public LoopTest {};

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

TEST_F(MainThreadTest, CallsOfOneThreadRunInOrder) {
  std::string order;
  onWorker([&] {
    for (char name = 'a'; name <= 'z'; ++name) {
      EXPECT_TRUE(mainThread.runAndWait([&] { order += name; }));
    }
  });
  EXPECT_EQ(order, "abcdefghijklmnopqrstuvwxyz");
}

TEST_F(MainThreadTest, AnswersManyThreads) {
  int runs = 0;
  std::atomic<int> answers{0};
  for (int worker = 0; worker < 16; ++worker) {
    workers.spawn([&] { answers += mainThread.runAndWait([&] { ++runs; }) ? 1 : 0; });
  }
  runLoopUntil([&] { return answers == 16; });
  EXPECT_EQ(runs, 16);
}

TEST_F(MainThreadTest, RunsInNestedLoops) {
  std::string order;
  std::atomic<bool> outerBegan{false};
  workers.spawn([&] {
    waitUntil(outerBegan);
    mainThread.runAndWait([&] { order += "b"; });
  });
  onWorker([&] {
    mainThread.runAndWait([&] {
      order += "a";
      outerBegan = true;
      while (order == "a") {
        clock.sleep(milliseconds(1));
      }
      order += "c";
    });
  });
  EXPECT_EQ(order, "abc");
}

TEST_F(MainThreadTest, OnePassRunsWhatIsPending) {
  std::atomic<bool> answered{false};
  workers.spawn([&] { answered = mainThread.runAndWait([] {}); });
  while (!answered) {
    mainThread.runPending();
  }
}

TEST_F(MainThreadTest, WhatHasNotBegunAtTheEndNeverRuns) {
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

TEST_F(MainThreadTest, WhatHasBegunAtTheEndIsWaitedFor) {
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

TEST_F(ClockTest, APauseKeepsTheMainLoopRunning) {
  std::atomic<bool> ran{false};
  workers.spawn([&] { mainThread.runAndWait([&] { ran = true; }); });
  while (!ran) {
    EXPECT_TRUE(clock.sleep(microseconds(100)));
  }
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

TEST_F(ClockTest, PausesMayNestAndEachLastsItsTime) {
  bool inner = false;
  workers.spawn([&] { mainThread.runAndWait([&] { inner = clock.sleep(milliseconds(2)); }); });
  while (!inner) {
    EXPECT_TRUE(clock.sleep(milliseconds(1)));
  }
}

TEST_F(ClockTest, TheEndComesAfterPausesThatAreOver) {
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

TEST_F(WorkersTest, RunEachBodyOnAThreadOfItsOwnAndReturnAtOnce) {
  std::atomic<bool> go{false};
  std::atomic<int> ended{0};
  std::thread::id first;
  std::thread::id second;
  workers.spawn([&] {
    first = std::this_thread::get_id();
    waitUntil(go);
    ++ended;
  });
  workers.spawn([&] {
    second = std::this_thread::get_id();
    go = true;
    ++ended;
  });
  runLoopUntil([&] { return ended == 2; });
  EXPECT_NE(first, second);
  EXPECT_NE(first, std::this_thread::get_id());
  EXPECT_NE(second, std::this_thread::get_id());
}

TEST_F(WorkersTest, AWorkerMayStartOthers) {
  std::atomic<bool> ran{false};
  workers.spawn([&] { workers.spawn([&] { ran = true; }); });
  runLoopUntil([&] { return ran.load(); });
}

TEST_F(WorkersTest, KnowWhenTheProgramEnds) {
  EXPECT_FALSE(workers.stopping());
  stop.request();
  EXPECT_TRUE(workers.stopping());
}

}  // namespace
}  // namespace fillstation::test
