#include "StopSource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace fillstation {
namespace {

using std::chrono::hours;
using std::chrono::microseconds;

TEST(StopSource, IsNotRequestedAtFirstAndStaysRequested) {
  StopSource stop;
  EXPECT_FALSE(stop.requested());
  stop.request();
  EXPECT_TRUE(stop.requested());
  stop.request();
  EXPECT_TRUE(stop.requested());
}

TEST(StopSource, WaitsForTheWholeDuration) {
  StopSource stop;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(stop.waitFor(microseconds(1500)));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, microseconds(1500));
}

TEST(StopSource, DoesNotWaitForZeroOrLess) {
  StopSource stop;
  EXPECT_TRUE(stop.waitFor(microseconds(0)));
  EXPECT_TRUE(stop.waitFor(-hours(1)));
}

TEST(StopSource, DoesNotWaitOnceRequested) {
  StopSource stop;
  stop.request();
  EXPECT_FALSE(stop.waitFor(hours(1)));
  EXPECT_FALSE(stop.waitFor(microseconds(0)));
}

TEST(StopSource, RequestEndsAllWaits) {
  StopSource stop;
  std::atomic<int> ended{0};
  const auto wait = [&] { ended += stop.waitFor(hours(1)) ? 100 : 1; };
  std::thread first(wait);
  std::thread second(wait);
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  stop.request();
  first.join();
  second.join();
  EXPECT_EQ(ended, 2);
}

TEST(StopSource, RunsCallbacksOnceInTheOrderOfTheirRegistration) {
  StopSource stop;
  std::string order;
  stop.onRequest([&] { order += stop.requested() ? "a" : "?"; });
  stop.onRequest([&] { order += "b"; });
  EXPECT_EQ(order, "");
  stop.request();
  EXPECT_EQ(order, "ab");
  stop.request();
  EXPECT_EQ(order, "ab");
}

TEST(StopSource, RunsALateCallbackAtOnceAndOnlyOnce) {
  StopSource stop;
  stop.request();
  int runs = 0;
  stop.onRequest([&] { ++runs; });
  EXPECT_EQ(runs, 1);
  stop.request();
  EXPECT_EQ(runs, 1);
}

TEST(StopSource, RunsNoRemovedCallback) {
  StopSource stop;
  std::string order;
  const auto first = stop.onRequest([&] { order += "a"; });
  const auto second = stop.onRequest([&] { order += "b"; });
  EXPECT_NE(first, second);
  stop.removeCallback(first);
  stop.request();
  EXPECT_EQ(order, "b");
  stop.removeCallback(second);
}

TEST(StopSource, RemovalWaitsForARunningCallback) {
  StopSource stop;
  std::atomic<bool> begun{false};
  std::atomic<bool> returned{false};
  const auto id = stop.onRequest([&] {
    begun = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    returned = true;
  });
  std::thread requester([&] { stop.request(); });
  while (!begun) {
    std::this_thread::yield();
  }
  stop.removeCallback(id);
  EXPECT_TRUE(returned);
  requester.join();
}

}  // namespace
}  // namespace fillstation
