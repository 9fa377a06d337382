#include "Closers.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

#include "KernelCalls.h"

namespace fillstation {
namespace {

// Closes that last until the test lets them end, and that can fail.
class HeldCalls : public KernelCalls {
 public:
  int close(int descriptor) override {
    std::unique_lock guard(lock_);
    ++inside_;
    most_ = std::max(most_, inside_);
    threads_.insert(std::this_thread::get_id());
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
  int most() {
    const std::scoped_lock guard(lock_);
    return most_;
  }
  std::size_t threads() {
    const std::scoped_lock guard(lock_);
    return threads_.size();
  }

  bool failing = false;

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int allowed_ = 0;
  int inside_ = 0;
  int most_ = 0;
  std::set<std::thread::id> threads_;
};

FileHandle someFile() { return FileHandle(::open("/dev/null", O_RDONLY | O_CLOEXEC)); }

void closeMore(Closers& closers, int count) {
  for (int file = 0; file < count; ++file) {
    closers.close(someFile());
  }
}

TEST(Closers, ClosesBeginSixteenAtATime) {
  HeldCalls calls;
  Closers closers(calls);
  EXPECT_EQ(Closers::kTogether, 16U);
  closeMore(closers, 15);
  EXPECT_EQ(calls.threads(), 0U);
  closeMore(closers, 1);
  calls.waitFor(16);
  closeMore(closers, 15);
  EXPECT_EQ(calls.most(), 16);
  calls.allow(31);
  EXPECT_TRUE(closers.finish());
}

TEST(Closers, CloseElsewhereAndReturnAtOnce) {
  HeldCalls calls;
  Closers closers(calls);
  FileHandle file = someFile();
  const int descriptor = file.get();
  closers.close(std::move(file));
  closeMore(closers, 15);
  calls.waitFor(16);
  EXPECT_NE(::fcntl(descriptor, F_GETFD), -1);
  calls.allow(16);
  EXPECT_TRUE(closers.finish());
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

TEST(Closers, ClosesLastAtTheSameTimeUpToTheLimit) {
  HeldCalls calls;
  Closers closers(calls);
  EXPECT_EQ(Closers::kMost, 32U);
  closeMore(closers, 32);
  calls.waitFor(32);
  std::thread oneMore([&] { closers.close(someFile()); });
  calls.allow(1);
  oneMore.join();
  calls.allow(32);
  EXPECT_TRUE(closers.finish());
  EXPECT_EQ(calls.most(), 32);
  EXPECT_EQ(calls.threads(), 32U);
}

TEST(Closers, AFreeThreadIsUsedAgain) {
  HeldCalls calls;
  Closers closers(calls);
  calls.allow(100);
  for (int file = 0; file < 100; ++file) {
    closers.close(someFile());
    EXPECT_TRUE(closers.finish());
  }
  EXPECT_EQ(calls.threads(), 1U);
}

TEST(Closers, AFailureIsToldAlwaysAfterwards) {
  HeldCalls calls;
  Closers closers(calls);
  calls.allow(3);
  closers.close(someFile());
  EXPECT_TRUE(closers.finish());
  calls.failing = true;
  closers.close(someFile());
  EXPECT_FALSE(closers.finish());
  calls.failing = false;
  closers.close(someFile());
  EXPECT_FALSE(closers.finish());
}

TEST(Closers, WithoutFilesThereIsNothingToWaitFor) {
  Closers closers(KernelCalls::real());
  EXPECT_TRUE(closers.finish());
}

TEST(Closers, GoWhenEverythingIsClosed) {
  HeldCalls calls;
  auto closers = std::make_unique<Closers>(calls);
  FileHandle file = someFile();
  const int descriptor = file.get();
  closers->close(std::move(file));
  std::thread later([&] { calls.allow(1); });
  closers.reset();
  later.join();
  EXPECT_EQ(::fcntl(descriptor, F_GETFD), -1);
}

}  // namespace
}  // namespace fillstation
