#include "Closers.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace fillstation {
namespace {

// Closes that last until the test lets them end, and that can fail.
class HeldCalls : public KernelCalls {
 public:
  int close(int descriptor) override {
    std::unique_lock guard(lock_);
    most_ = std::max(most_, ++inside_);
    changed_.notify_all();
    changed_.wait(guard, [this] { return allowed_ > 0; });
    --allowed_;
    --inside_;
    const int result = KernelCalls::close(descriptor);
    return failing ? -1 : result;
  }

  // Lets so many closes end.
  void allow(int count) {
    const std::scoped_lock guard(lock_);
    allowed_ += count;
    changed_.notify_all();
  }
  // Waits until so many closes last.
  void waitFor(int count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return inside_ == count; });
  }
  // How many lasted at the same time at most.
  int most() {
    const std::scoped_lock guard(lock_);
    return most_;
  }

  bool failing = false;

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int allowed_ = 0;
  int inside_ = 0;
  int most_ = 0;
};

class ClosersTest : public testing::Test {
 protected:
  // The descriptor of the last one.
  int close(int count) {
    int descriptor = -1;
    for (int file = 0; file < count; ++file) {
      descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
      closers->close(FileHandle(descriptor));
    }
    return descriptor;
  }
  static bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) != -1; }

  HeldCalls calls;
  std::unique_ptr<Closers> closers = std::make_unique<Closers>(calls);
};

TEST_F(ClosersTest, ClosesBeginSixteenAtATimeAndElsewhere) {
  EXPECT_EQ(Closers::kTogether, 16U);
  close(15);
  EXPECT_EQ(calls.most(), 0);
  const int descriptor = close(1);
  calls.waitFor(16);
  close(15);
  EXPECT_EQ(calls.most(), 16);
  EXPECT_TRUE(isOpen(descriptor));
  calls.allow(31);
  EXPECT_TRUE(closers->finish());
  EXPECT_FALSE(isOpen(descriptor));
}

TEST_F(ClosersTest, ClosesLastAtTheSameTimeUpToTheLimit) {
  EXPECT_EQ(Closers::kMost, 32U);
  close(32);
  calls.waitFor(32);
  std::thread more([this] { close(16); });
  calls.allow(48);
  more.join();
  EXPECT_TRUE(closers->finish());
  EXPECT_EQ(calls.most(), 32);
}

TEST_F(ClosersTest, AFailureIsToldAlwaysAfterwards) {
  EXPECT_TRUE(closers->finish());
  calls.allow(3);
  close(1);
  EXPECT_TRUE(closers->finish());
  calls.failing = true;
  close(1);
  EXPECT_FALSE(closers->finish());
  calls.failing = false;
  close(1);
  EXPECT_FALSE(closers->finish());
}

TEST_F(ClosersTest, GoWhenEverythingIsClosed) {
  const int descriptor = close(1);
  std::thread later([this] { calls.allow(1); });
  closers.reset();
  later.join();
  EXPECT_FALSE(isOpen(descriptor));
}

}  // namespace
}  // namespace fillstation
