#include "MainLoopQueue.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "MainLoop.h"

namespace fillstation {
namespace {

TEST(MainLoopQueue, RunsInOrderFromTheLoopAndNotInsideTheCall) {
  MainLoopQueue queue;
  std::string order;
  queue.add([&] { order += "a"; });
  queue.add([&] { order += "b"; });
  EXPECT_EQ(order, "");
  QCoreApplication::processEvents();
  EXPECT_EQ(order, "ab");
  test::runLoopDry();
  EXPECT_EQ(order, "ab");
}

TEST(MainLoopQueue, OnePassLeavesWhatIsAddedDuringIt) {
  MainLoopQueue queue;
  int runs = 0;
  std::function<void()> again = [&] {
    ++runs;
    if (runs < 5) {
      queue.add(again);
    }
  };
  queue.add(again);
  QCoreApplication::processEvents();
  EXPECT_EQ(runs, 1);
  QCoreApplication::processEvents();
  EXPECT_EQ(runs, 2);
}

TEST(MainLoopQueue, NestedLoopsGoOnWithTheRest) {
  MainLoopQueue queue;
  std::string order;
  queue.add([&] {
    order += "(";
    queue.add([&] { order += "c"; });
    test::runLoopUntil([&] { return order.size() == 3; });
    order += ")";
  });
  queue.add([&] { order += "b"; });
  test::runLoopUntil([&] { return order.ends_with(")"); });
  EXPECT_EQ(order, "(bc)");
  queue.add([&] { order += "d"; });
  test::runLoopDry();
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
  std::string order;
  std::thread lower([&] {
    for (char name = 'a'; name <= 'z'; ++name) {
      queue.add([&order, name] { order += name; });
    }
  });
  std::thread upper([&] {
    for (char name = 'A'; name <= 'Z'; ++name) {
      queue.add([&order, name] { order += name; });
    }
  });
  test::runLoopUntil([&] { return order.size() == 52; });
  lower.join();
  upper.join();
  std::string lowerOrder;
  std::string upperOrder;
  for (const char name : order) {
    (name >= 'a' ? lowerOrder : upperOrder) += name;
  }
  EXPECT_EQ(lowerOrder, "abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(upperOrder, "ABCDEFGHIJKLMNOPQRSTUVWXYZ");
}

TEST(MainLoopQueue, DropsACallableBeforeTheNextBegins) {
  MainLoopQueue queue;
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  bool gone = false;
  queue.add([held = std::move(held)] {});
  queue.add([&] { gone = watched.expired(); });
  test::runLoopDry();
  EXPECT_TRUE(gone);
}

TEST(MainLoopQueue, WhatIsLeftNeverRuns) {
  int runs = 0;
  {
    MainLoopQueue queue;
    queue.add([&] { ++runs; });
  }
  test::runLoopDry();
  EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace fillstation
