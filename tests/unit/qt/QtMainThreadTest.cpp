#include "QtMainThread.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <atomic>
#include <string>
#include <thread>

#include "MainLoop.h"

namespace fillstation {
namespace {

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
