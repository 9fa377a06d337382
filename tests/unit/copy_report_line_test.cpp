#include <gtest/gtest.h>

#include <future>
#include <list>
#include <string>
#include <thread>

#include "Platform.h"
#include "ReportLine.h"

namespace fillstation::test {
namespace {

// A main thread that lets each hand-over wait for a permit; it runs them where they come from.
class SlowMainThread : public MainThread {
 public:
  bool runAndWait(const std::function<void()>& callable) override {
    std::unique_lock guard(lock_);
    ++handOvers_;
    changed_.notify_all();
    changed_.wait(guard, [this] { return permits_ > 0; });
    --permits_;
    const bool ends = ends_;
    guard.unlock();
    if (!ends) {
      callable();
    }
    return !ends;
  }
  void runPending() override {}

  void permit(int count = 1) {
    const std::scoped_lock guard(lock_);
    permits_ += count;
    changed_.notify_all();
  }
  void end() {
    const std::scoped_lock guard(lock_);
    ends_ = true;
  }
  void awaitHandOver(int number) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this, number] { return handOvers_ >= number; });
  }
  int handOvers() {
    const std::scoped_lock guard(lock_);
    return handOvers_;
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int permits_ = 0;
  int handOvers_ = 0;
  bool ends_ = false;
};

class ReportLineTest : public ::testing::Test {
 protected:
  void SetUp() override { platform().mainThread = &mainThread; }
  void TearDown() override { platform() = {}; }

  // Passes reports on a thread of their own, one after the other, which write their names.
  void pass(const std::string& names) {
    workers.push_back(std::async(std::launch::async, [this, names] {
      for (const char name : names) {
        line.pass([this, name] { shown += name; });
      }
    }));
  }
  // The same, and returns when the first of them waits behind the others.
  void passBehind(const std::string& names, std::size_t waiting) {
    pass(names);
    while (line.waiting() != waiting) {
      std::this_thread::yield();
    }
  }
  void joinWorkers() {
    for (auto& worker : workers) {
      worker.get();
    }
  }

  SlowMainThread mainThread;
  std::mutex lock;
  ReportLine line{lock};
  std::string shown;
  std::list<std::future<void>> workers;
};

TEST_F(ReportLineTest, ReportsThatComeOneAfterTheOtherAreHandedOverOneByOne) {
  mainThread.permit(3);
  pass("abc");
  joinWorkers();
  EXPECT_EQ(shown, "abc");
  EXPECT_EQ(mainThread.handOvers(), 3);
  EXPECT_EQ(line.waiting(), 0U);
}

TEST_F(ReportLineTest, ReportsThatComeMeanwhileAreHandedOverTogetherInTheirOrder) {
  pass("a");
  mainThread.awaitHandOver(1);
  passBehind("b", 1);
  passBehind("c", 2);
  passBehind("d", 3);
  mainThread.permit();
  mainThread.awaitHandOver(2);
  EXPECT_EQ(shown, "a");
  mainThread.permit();
  joinWorkers();
  EXPECT_EQ(shown, "abcd");
  EXPECT_EQ(mainThread.handOvers(), 2);
}

TEST_F(ReportLineTest, WhoComesDuringTheSecondHandOverLeadsTheThird) {
  pass("a");
  mainThread.awaitHandOver(1);
  passBehind("b", 1);
  mainThread.permit();
  mainThread.awaitHandOver(2);
  passBehind("c", 1);
  passBehind("d", 2);
  mainThread.permit(2);
  joinWorkers();
  EXPECT_EQ(shown, "abcd");
  EXPECT_EQ(mainThread.handOvers(), 3);
}

TEST_F(ReportLineTest, EachReturnsWhenItsOwnReportHasReturned) {
  pass("a");
  mainThread.awaitHandOver(1);
  passBehind("b", 1);
  passBehind("c", 2);
  std::promise<void> returned;
  // The third one's report ends only when the second one's thread goes on.
  auto last =
      std::async(std::launch::async, [&] { line.pass([&] { returned.get_future().wait(); }); });
  while (line.waiting() != 3) {
    std::this_thread::yield();
  }
  mainThread.permit(2);
  workers.back().get();
  workers.pop_back();
  returned.set_value();
  last.get();
  joinWorkers();
  EXPECT_EQ(shown, "abc");
}

TEST_F(ReportLineTest, AllReturnWithoutTheirReportsWhenTheProgramEnds) {
  pass("a");
  mainThread.awaitHandOver(1);
  passBehind("b", 1);
  passBehind("c", 2);
  mainThread.end();
  mainThread.permit(2);
  joinWorkers();
  EXPECT_EQ(shown, "");
}

TEST_F(ReportLineTest, LockIsHeldWhileAReportIsShownAndFreeAfterwards) {
  const auto isFree = [this] {
    return std::async(std::launch::async,
                      [this] { return std::unique_lock(lock, std::try_to_lock).owns_lock(); })
        .get();
  };
  bool freeMeanwhile = true;
  mainThread.permit();
  line.pass([&] { freeMeanwhile = isFree(); });
  EXPECT_FALSE(freeMeanwhile);
  EXPECT_TRUE(isFree());
}

}  // namespace
}  // namespace fillstation::test
