#include "ThreadWorkers.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace fillstation {
namespace {

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
