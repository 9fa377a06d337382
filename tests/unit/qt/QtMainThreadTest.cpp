#include "QtMainThread.h"

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

TEST(QtMainThread, KnowsItsThread) {
  StopSource stop;
  const QtMainThread mainThread(stop);
  EXPECT_TRUE(mainThread.isHere());
  bool elsewhere = true;
  std::thread([&] { elsewhere = mainThread.isHere(); }).join();
  EXPECT_FALSE(elsewhere);
}

TEST(QtMainThread, PostsInOrderForTheLoopAndDropsPostsOnceStopped) {
  StopSource stop;
  QtMainThread mainThread(stop);
  std::string order;
  mainThread.post([&] { order += "a"; });
  std::thread([&] { mainThread.post([&] { order += "b"; }); }).join();
  EXPECT_EQ(order, "");
  mainThread.runPending();
  EXPECT_EQ(order, "ab");
  mainThread.post([&] { order += "c"; });
  stop.request();
  mainThread.post([&] { order += "d"; });
  test::runLoopDry();
  EXPECT_EQ(order, "ab");
}

// The moment between the request and its news reaching the thread that waits.
TEST(QtMainThread, NothingBeginsWhileTheRequestIsStillSpreading) {
  StopSource stop;
  QtMainThread mainThread(stop);
  bool ran = false;
  bool answer = true;
  std::atomic<bool> begun{false};
  std::thread other([&] {
    begun = true;
    answer = mainThread.runAndWait([&] { ran = true; });
  });
  while (!begun) {
    std::this_thread::yield();
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(10));  // until it is most likely queued
  // Of callbacks the latest runs first.
  const StopSource::Callback spreading(stop.token(), [] { test::runLoopDry(); });
  stop.request();
  other.join();
  EXPECT_FALSE(answer);
  EXPECT_FALSE(ran);
  test::runLoopDry();
  EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace fillstation

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
