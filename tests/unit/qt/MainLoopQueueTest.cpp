#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "MainLoop.h"
#include "QtMainThread.h"
#include "QtUsbBus.h"

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

// What the contract of all buses doesn't show of their queue.
class EventBus : public QtUsbBus {
 public:
  explicit EventBus(const StopSource& stop) : QtUsbBus(stop) {}
  using QtUsbBus::post;

  bool open(std::string_view /*className*/) override { return true; }
  void watchMedia(std::function<void()> /*notification*/) override {}
  std::optional<std::int64_t> takeMedium(const DiskIdentity& /*player*/) override { return {}; }
  std::string portName(std::uint32_t /*handle*/) const override { return {}; }
};

class QtUsbBusTest : public testing::Test {
 protected:
  void post(const std::string& name) {
    bus_.post([this, name] { order_ += name; });
  }

  StopSource stop_;
  EventBus bus_{stop_};
  std::string order_;
};

TEST_F(QtUsbBusTest, AHoldInsideAnEventHoldsTheNext) {
  bus_.post([this] {
    order_ += "h";
    bus_.hold();
  });
  post("a");
  EXPECT_EQ(order_, "");
  test::runLoopDry();
  EXPECT_EQ(order_, "h");
  bus_.resume();
  test::runLoopDry();
  EXPECT_EQ(order_, "ha");
}

TEST_F(QtUsbBusTest, AWalkAndAHoldAreApart) {
  const auto iterator = bus_.watchAttach({});
  bus_.hold();
  post("a");
  iterator->next();
  test::runLoopDry();
  EXPECT_EQ(order_, "");
  bus_.watchDetach({});
  bus_.resume();
  test::runLoopDry();
  EXPECT_EQ(order_, "");
  bus_.watchDetach({})->next();
  test::runLoopDry();
  EXPECT_EQ(order_, "a");
}

TEST_F(QtUsbBusTest, DropsEventsOnceStopped) {
  post("a");
  stop_.request();
  post("b");
  test::runLoopDry();
  EXPECT_EQ(order_, "");
}

TEST_F(QtUsbBusTest, AnEventIsDroppedWhenItHasRunAndOneThatIsLeftNeverRuns) {
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  bus_.post([held = std::move(held)] {});
  test::runLoopDry();
  EXPECT_TRUE(watched.expired());
  {
    EventBus bus(stop_);
    bus.post([this] { order_ += "x"; });
  }
  test::runLoopDry();
  EXPECT_EQ(order_, "");
}

}  // namespace
}  // namespace fillstation
