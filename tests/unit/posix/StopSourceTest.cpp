#include "StopSource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
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
  const StopSource stop;
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_TRUE(stop.waitFor(microseconds(1500)));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, microseconds(1500));
}

TEST(StopSource, DoesNotWaitForZeroOrLess) {
  const StopSource stop;
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

TEST(StopSource, RunsACallbackOnceWhenTheStopIsRequested) {
  StopSource stop;
  int runs = 0;
  const StopSource::Callback callback(stop.token(), [&] { runs += stop.requested() ? 1 : 100; });
  EXPECT_EQ(runs, 0);
  stop.request();
  stop.request();
  EXPECT_EQ(runs, 1);
}

}  // namespace
}  // namespace fillstation
