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
  test::runLoopDry();
  EXPECT_EQ(order, "abc");
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
  std::string letters;
  std::string digits;
  const auto addEach = [&queue](std::string& order, const std::string& names) {
    for (const char name : names) {
      queue.add([&order, name] { order += name; });
    }
  };
  std::thread first([&] { addEach(letters, "abcdefghijklmnopqrstuvwxyz"); });
  std::thread second([&] { addEach(digits, "01234567890123456789"); });
  test::runLoopUntil([&] { return letters.size() + digits.size() == 46; });
  first.join();
  second.join();
  EXPECT_EQ(letters, "abcdefghijklmnopqrstuvwxyz");
  EXPECT_EQ(digits, "01234567890123456789");
}

TEST(MainLoopQueue, DropsACallableBeforeTheNextBeginsAndNeverRunsWhatIsLeft) {
  auto queue = std::make_unique<MainLoopQueue>();
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  bool gone = false;
  queue->add([held = std::move(held)] {});
  queue->add([&] { gone = watched.expired(); });
  test::runLoopDry();
  EXPECT_TRUE(gone);
  queue->add([&] { gone = false; });
  queue.reset();
  test::runLoopDry();
  EXPECT_TRUE(gone);
}

class UsbEventQueueTest : public testing::Test {
 protected:
  void post(const std::string& name) {
    queue_.post([this, name] { order_ += name; });
  }

  StopSource stop_;
  UsbEventQueue queue_{stop_};
  std::string order_;
};

TEST_F(UsbEventQueueTest, RunsInOrderFromTheLoop) {
  post("a");
  post("b");
  EXPECT_EQ(order_, "");
  test::runLoopDry();
  EXPECT_EQ(order_, "ab");
  post("c");
  EXPECT_EQ(order_, "ab");
  test::runLoopDry();
  EXPECT_EQ(order_, "abc");
}

TEST_F(UsbEventQueueTest, AnEventWaitsWhileAnotherPausesInANestedLoop) {
  queue_.post([this] {
    order_ += "(";
    post("b");
    test::runLoopDry();
    order_ += ")";
  });
  post("a");
  test::runLoopDry();
  EXPECT_EQ(order_, "()ab");
}

TEST_F(UsbEventQueueTest, WaitsWhileHeldAndHoldsNest) {
  post("a");
  queue_.hold();
  queue_.hold();
  post("b");
  test::runLoopDry();
  queue_.resume();
  test::runLoopDry();
  EXPECT_EQ(order_, "");
  queue_.resume();
  EXPECT_EQ(order_, "");
  test::runLoopDry();
  EXPECT_EQ(order_, "ab");
}

TEST_F(UsbEventQueueTest, AHoldInsideAnEventHoldsTheNext) {
  queue_.post([this] {
    order_ += "h";
    queue_.hold();
  });
  post("a");
  test::runLoopDry();
  EXPECT_EQ(order_, "h");
  queue_.resume();
  test::runLoopDry();
  EXPECT_EQ(order_, "ha");
}

TEST_F(UsbEventQueueTest, WaitsWhileBusyWhichDoesNotNest) {
  queue_.setBusy(true);
  queue_.setBusy(true);
  post("a");
  test::runLoopDry();
  EXPECT_EQ(order_, "");
  queue_.setBusy(false);
  EXPECT_EQ(order_, "");
  test::runLoopDry();
  EXPECT_EQ(order_, "a");
}

TEST_F(UsbEventQueueTest, BusyAndHeldAreApart) {
  queue_.setBusy(true);
  queue_.hold();
  post("a");
  queue_.setBusy(false);
  test::runLoopDry();
  EXPECT_EQ(order_, "");
  queue_.setBusy(true);
  queue_.resume();
  test::runLoopDry();
  EXPECT_EQ(order_, "");
  queue_.setBusy(false);
  test::runLoopDry();
  EXPECT_EQ(order_, "a");
}

TEST_F(UsbEventQueueTest, DropsEventsOnceStopped) {
  post("a");
  stop_.request();
  post("b");
  test::runLoopDry();
  EXPECT_EQ(order_, "");
}

TEST_F(UsbEventQueueTest, AnEventIsDroppedWhenItHasRunAndOneThatIsLeftNeverRuns) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  queue_.post([held = std::move(held)] {});
  test::runLoopDry();
  EXPECT_TRUE(watched.expired());
  {
    UsbEventQueue queue(stop_);
    queue.post([this] { order_ += "x"; });
  }
  test::runLoopDry();
  EXPECT_EQ(order_, "");
}

}  // namespace
}  // namespace fillstation
