#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <future>
#include <limits>
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
    guard.lock();
    ++returned_;
    changed_.notify_all();
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
  void awaitReturn(int number) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this, number] { return returned_ >= number; });
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
  int returned_ = 0;
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
    workers.clear();
  }

  SlowMainThread mainThread;
  std::mutex lock;
  ReportLine line{lock, 0};
  std::string shown;
  std::list<std::future<void>> workers;
};

TEST_F(ReportLineTest, ReportThatComesAfterAHandOverIsHandedOverAnew) {
  mainThread.permit(2);
  pass("a");
  joinWorkers();
  mainThread.awaitReturn(1);
  pass("b");
  joinWorkers();
  mainThread.awaitReturn(2);
  EXPECT_EQ(shown, "ab");
  EXPECT_EQ(mainThread.handOvers(), 2);
  EXPECT_EQ(line.waiting(), 0U);
}

TEST_F(ReportLineTest, ReportsThatWaitAreHandedOverTogetherInTheirOrder) {
  pass("a");
  mainThread.awaitHandOver(1);
  passBehind("b", 2);
  passBehind("c", 3);
  passBehind("d", 4);
  EXPECT_EQ(shown, "");
  mainThread.permit();
  joinWorkers();
  mainThread.awaitReturn(1);
  EXPECT_EQ(shown, "abcd");
  EXPECT_EQ(mainThread.handOvers(), 1);
}

TEST_F(ReportLineTest, HandOverShowsWhatComesWhileItLasts) {
  mainThread.permit();
  line.pass([this] {
    passBehind("b", 1);
    shown += 'a';
  });
  joinWorkers();
  EXPECT_EQ(shown, "ab");
  EXPECT_EQ(mainThread.handOvers(), 1);
}

TEST_F(ReportLineTest, HandOverEndsAfterSomeReportsThoughMoreAreWaiting) {
  ReportLine brief(lock, 0, 2);
  std::array<std::future<void>, 3> passing;
  mainThread.permit(2);
  // Each report but the last returns when the next one is waiting.
  std::function<void(std::size_t)> passFrom = [&](std::size_t number) {
    passing.at(number) = std::async(std::launch::async, [&, number] {
      brief.pass([&, number] {
        if (number + 1 < passing.size()) {
          passFrom(number + 1);
          while (brief.waiting() == 0) {
            std::this_thread::yield();
          }
        }
        shown += static_cast<char>('a' + number);
      });
    });
  };
  passFrom(0);
  mainThread.awaitReturn(2);
  for (auto& each : passing) {
    each.get();
  }
  EXPECT_EQ(shown, "abc");
  EXPECT_EQ(mainThread.handOvers(), 2);
}

TEST_F(ReportLineTest, HandOverAwaitsTheNextReportWithPatience) {
  ReportLine patient(lock, std::numeric_limits<int>::max(), 2);
  mainThread.permit();
  workers.push_back(
      std::async(std::launch::async, [&] { patient.pass([this] { shown += 'a'; }); }));
  mainThread.awaitHandOver(1);
  workers.push_back(
      std::async(std::launch::async, [&] { patient.pass([this] { shown += 'b'; }); }));
  joinWorkers();
  EXPECT_EQ(shown, "ab");
  EXPECT_EQ(mainThread.handOvers(), 1);
}

TEST_F(ReportLineTest, EachReturnsWhenItsOwnReportHasReturned) {
  pass("a");
  mainThread.awaitHandOver(1);
  passBehind("b", 2);
  passBehind("c", 3);
  std::promise<void> returned;
  // The third one's report ends only when the second one's thread goes on.
  auto last =
      std::async(std::launch::async, [&] { line.pass([&] { returned.get_future().wait(); }); });
  while (line.waiting() != 4) {
    std::this_thread::yield();
  }
  mainThread.permit();
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
  passBehind("b", 2);
  passBehind("c", 3);
  mainThread.end();
  mainThread.permit();
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
