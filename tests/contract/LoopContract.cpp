#include "LoopContract.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>

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

}  // namespace

void LoopContract::onWorker(std::function<void()> body) {
  std::atomic<bool> returned{false};
  workers().spawn([&returned, body = std::move(body)] {
    body();
    returned = true;
  });
  backEnd_->runLoopUntil([&] { return returned.load(); });
}

TEST_P(MainThreadContract, RunsThereAndReturnsAfterwards) {
  const auto main = std::this_thread::get_id();
  onWorker([&] {
    std::thread::id ranOn;
    EXPECT_TRUE(mainThread().runAndWait([&] {
      giveTime();
      ranOn = std::this_thread::get_id();
    }));
    EXPECT_EQ(ranOn, main);
    EXPECT_NE(ranOn, std::this_thread::get_id());
  });
}

TEST_P(MainThreadContract, OnTheMainThreadTheCallableSimplyRuns) {
  bool ran = false;
  EXPECT_TRUE(mainThread().runAndWait([&] { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST_P(MainThreadContract, OnTheMainThreadItRunsEvenAtTheEnd) {
  backEnd_->requestStop();
  bool ran = false;
  EXPECT_TRUE(mainThread().runAndWait([&] { ran = true; }));
  EXPECT_TRUE(ran);
}

TEST_P(MainThreadContract, CallsOfOneThreadRunInOrder) {
  std::string order;
  onWorker([&] {
    for (char name = 'a'; name <= 'z'; ++name) {
      EXPECT_TRUE(mainThread().runAndWait([&] { order += name; }));
    }
  });
  EXPECT_EQ(order, "abcdefghijklmnopqrstuvwxyz");
}

TEST_P(MainThreadContract, AnswersManyThreads) {
  int runs = 0;
  std::atomic<int> answers{0};
  for (int worker = 0; worker < 16; ++worker) {
    workers().spawn([&] { answers += mainThread().runAndWait([&] { ++runs; }) ? 1 : 0; });
  }
  backEnd_->runLoopUntil([&] { return answers == 16; });
  EXPECT_EQ(runs, 16);
}

TEST_P(MainThreadContract, RunsInNestedLoops) {
  std::string order;
  std::atomic<bool> outerBegan{false};
  workers().spawn([&] {
    waitUntil(outerBegan);
    mainThread().runAndWait([&] { order += "b"; });
  });
  onWorker([&] {
    mainThread().runAndWait([&] {
      order += "a";
      outerBegan = true;
      while (order == "a") {
        clock().sleep(milliseconds(1));
      }
      order += "c";
    });
  });
  EXPECT_EQ(order, "abc");
}

TEST_P(MainThreadContract, OnePassRunsWhatIsPending) {
  std::atomic<bool> answered{false};
  workers().spawn([&] { answered = mainThread().runAndWait([] {}); });
  while (!answered) {
    mainThread().runPending();
  }
}

TEST_P(MainThreadContract, OnePassDoesNotWait) { mainThread().runPending(); }

TEST_P(MainThreadContract, WhatHasNotBegunAtTheEndNeverRuns) {
  bool ran = false;
  std::atomic<bool> begun{false};
  std::atomic<bool> answered{false};
  workers().spawn([&] {
    begun = true;
    EXPECT_FALSE(mainThread().runAndWait([&] { ran = true; }));
    answered = true;
  });
  waitUntil(begun);
  giveTime();
  backEnd_->requestStop();
  waitUntil(answered);
  backEnd_->runLoopDry();
  EXPECT_FALSE(ran);
}

TEST_P(MainThreadContract, AfterTheEndNothingIsRun) {
  backEnd_->requestStop();
  bool ran = false;
  std::atomic<bool> answered{false};
  workers().spawn([&] {
    EXPECT_FALSE(mainThread().runAndWait([&] { ran = true; }));
    answered = true;
  });
  waitUntil(answered);
  backEnd_->runLoopDry();
  EXPECT_FALSE(ran);
}

TEST_P(MainThreadContract, WhatHasBegunAtTheEndIsWaitedFor) {
  onWorker([&] {
    bool finished = false;
    EXPECT_TRUE(mainThread().runAndWait([&] {
      backEnd_->requestStop();
      giveTime();
      finished = true;
    }));
    EXPECT_TRUE(finished);
  });
}

TEST_P(ClockContract, AWorkerWaitsForTheWholeDuration) {
  onWorker([&] {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(clock().sleep(microseconds(1500)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, microseconds(1500));
  });
}

TEST_P(ClockContract, TheMainThreadWaitsForTheWholeDuration) {
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(clock().sleep(microseconds(1500)));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, microseconds(1500));
}

TEST_P(ClockContract, ZeroOrLessIsNoPause) {
  std::atomic<bool> begun{false};
  std::atomic<bool> ran{false};
  workers().spawn([&] {
    begun = true;
    mainThread().runAndWait([&] { ran = true; });
  });
  waitUntil(begun);
  giveTime();
  EXPECT_TRUE(clock().sleep(microseconds(0)));
  EXPECT_TRUE(clock().sleep(microseconds(-1)));
  EXPECT_TRUE(clock().sleep(-hours(1)));
  EXPECT_FALSE(ran);
  backEnd_->runLoopUntil([&] { return ran.load(); });
  onWorker([&] {
    EXPECT_TRUE(clock().sleep(microseconds(0)));
    EXPECT_TRUE(clock().sleep(-hours(1)));
  });
}

TEST_P(ClockContract, APauseKeepsTheMainLoopRunning) {
  std::atomic<bool> ran{false};
  workers().spawn([&] { mainThread().runAndWait([&] { ran = true; }); });
  while (!ran) {
    EXPECT_TRUE(clock().sleep(microseconds(100)));
  }
}

TEST_P(ClockContract, TheEndEndsThePausesOfTheMainThreadNestedOnesIncluded) {
  std::atomic<bool> pausing{false};
  bool inner = true;
  workers().spawn([&] {
    mainThread().runAndWait([&] {
      pausing = true;
      inner = clock().sleep(hours(1));
    });
  });
  workers().spawn([&] {
    waitUntil(pausing);
    giveTime();
    backEnd_->requestStop();
  });
  EXPECT_FALSE(clock().sleep(hours(1)));
  EXPECT_TRUE(pausing);
  EXPECT_FALSE(inner);
}

TEST_P(ClockContract, TheEndRequestedInsideAPauseEndsIt) {
  workers().spawn([&] { mainThread().runAndWait([&] { backEnd_->requestStop(); }); });
  EXPECT_FALSE(clock().sleep(hours(1)));
}

TEST_P(ClockContract, PausesMayNestAndEachLastsItsTime) {
  bool inner = false;
  workers().spawn(
      [&] { mainThread().runAndWait([&] { inner = clock().sleep(milliseconds(2)); }); });
  while (!inner) {
    EXPECT_TRUE(clock().sleep(milliseconds(1)));
  }
}

TEST_P(ClockContract, TheEndComesAfterPausesThatAreOver) {
  EXPECT_TRUE(clock().sleep(milliseconds(1)));
  EXPECT_TRUE(clock().sleep(milliseconds(1)));
  workers().spawn([&] { mainThread().runAndWait([&] { backEnd_->requestStop(); }); });
  EXPECT_FALSE(clock().sleep(hours(1)));
}

TEST_P(ClockContract, TheEndEndsAWorkersPause) {
  std::atomic<bool> pausing{false};
  std::atomic<bool> ended{false};
  workers().spawn([&] {
    pausing = true;
    EXPECT_FALSE(clock().sleep(hours(1)));
    ended = true;
  });
  waitUntil(pausing);
  giveTime();
  backEnd_->requestStop();
  waitUntil(ended);
}

TEST_P(ClockContract, AfterTheEndThereIsNoPause) {
  backEnd_->requestStop();
  EXPECT_FALSE(clock().sleep(hours(1)));
  EXPECT_FALSE(clock().sleep(microseconds(0)));
  onWorker([&] {
    EXPECT_FALSE(clock().sleep(hours(1)));
    EXPECT_FALSE(clock().sleep(microseconds(0)));
  });
}

TEST_P(WorkersContract, RunEachBodyOnAThreadOfItsOwnAndReturnAtOnce) {
  std::atomic<bool> go{false};
  std::atomic<int> ended{0};
  std::thread::id first;
  std::thread::id second;
  workers().spawn([&] {
    first = std::this_thread::get_id();
    waitUntil(go);
    ++ended;
  });
  workers().spawn([&] {
    second = std::this_thread::get_id();
    go = true;
    ++ended;
  });
  backEnd_->runLoopUntil([&] { return ended == 2; });
  EXPECT_NE(first, second);
  EXPECT_NE(first, std::this_thread::get_id());
  EXPECT_NE(second, std::this_thread::get_id());
}

TEST_P(WorkersContract, AWorkerMayStartOthers) {
  std::atomic<bool> ran{false};
  workers().spawn([&] { workers().spawn([&] { ran = true; }); });
  backEnd_->runLoopUntil([&] { return ran.load(); });
}

TEST_P(WorkersContract, KnowWhenTheProgramEnds) {
  EXPECT_FALSE(workers().stopping());
  backEnd_->requestStop();
  EXPECT_TRUE(workers().stopping());
}

}  // namespace fillstation::test
