#include "UsbEventQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "MainLoop.h"

namespace fillstation {
namespace {

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
