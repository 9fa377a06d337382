#include "SerialQueue.h"

#include <gtest/gtest.h>

#include <future>
#include <vector>

#include "TestPlatform.h"

namespace fillstation {

namespace {

TEST(SerialQueueTest, RunsJobsInOrderOnOneOtherThread) {
  test::TestWorkers workers;
  SerialQueue queue(workers);
  std::promise<void> go;
  std::vector<int> done;
  std::thread::id worker;
  queue.add([&] {
    go.get_future().wait();
    worker = std::this_thread::get_id();
  });
  for (int number = 0; number < 5; ++number) {
    queue.add([&done, number] { done.push_back(number); });
  }
  EXPECT_EQ(workers.spawned(), 1U);
  go.set_value();
  workers.join();
  EXPECT_EQ(done, std::vector<int>({0, 1, 2, 3, 4}));
  EXPECT_NE(worker, std::this_thread::get_id());
}

TEST(SerialQueueTest, BeginsAnewWhenItHadNothingToDo) {
  test::TestWorkers workers;
  SerialQueue queue(workers);
  int done = 0;
  queue.add([&] { ++done; });
  workers.join();
  queue.add([&] { ++done; });
  workers.join();
  EXPECT_EQ(done, 2);
  EXPECT_EQ(workers.spawned(), 2U);
}

TEST(SerialQueueTest, NoJobBeginsOnceTheProgramIsEnding) {
  test::TestWorkers workers;
  SerialQueue queue(workers);
  int done = 0;
  queue.add([&] {
    ++done;
    workers.stop();
  });
  queue.add([&] { ++done; });
  workers.join();
  EXPECT_LE(done, 1);
  queue.add([&] { ++done; });
  workers.join();
  EXPECT_LE(done, 1);
}

TEST(SerialQueueTest, AJobThatNeverBeginsIsDropped) {
  test::TestWorkers workers;
  SerialQueue queue(workers);
  workers.stop();
  const auto held = std::make_shared<int>(1);
  queue.add([held] {});
  workers.join();
  EXPECT_EQ(held.use_count(), 1);
}

TEST(SerialQueueTest, JobsOutliveTheQueue) {
  test::TestWorkers workers;
  std::promise<void> go;
  int done = 0;
  {
    SerialQueue queue(workers);
    queue.add([&] { go.get_future().wait(); });
    queue.add([&] { ++done; });
  }
  go.set_value();
  workers.join();
  EXPECT_EQ(done, 1);
}

}  // namespace

}  // namespace fillstation
