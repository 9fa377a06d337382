#include "ThreadWorkers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
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

// Destroyed with the body that holds it, which takes a moment.
struct SlowToGo {
  explicit SlowToGo(std::atomic<bool>& flag) : gone(flag) {}
  ~SlowToGo() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    gone = true;
  }
  std::atomic<bool>& gone;
};

TEST(ThreadWorkers, JoinAllWaitsUntilTheBodiesAreDestroyed) {
  StopSource stop;
  ThreadWorkers workers(stop);
  std::atomic<bool> gone{false};
  workers.spawn([held = std::make_shared<SlowToGo>(gone)] {});
  workers.joinAll();
  EXPECT_TRUE(gone);
}

TEST(ThreadWorkers, JoinAllWaitsForEveryBody) {
  StopSource stop;
  ThreadWorkers workers(stop);
  std::atomic<int> returned{0};
  workers.joinAll();
  for (int delay : {20, 1, 10}) {
    workers.spawn([&returned, delay] {
      std::this_thread::sleep_for(std::chrono::milliseconds(delay));
      ++returned;
    });
  }
  workers.joinAll();
  EXPECT_EQ(returned, 3);
  workers.joinAll();
}

TEST(ThreadWorkers, DestructorWaits) {
  StopSource stop;
  std::atomic<bool> returned{false};
  {
    ThreadWorkers workers(stop);
    workers.spawn([&returned] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      returned = true;
    });
  }
  EXPECT_TRUE(returned);
}

}  // namespace
}  // namespace fillstation
