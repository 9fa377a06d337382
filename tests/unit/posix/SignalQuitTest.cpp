#include "SignalQuit.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

namespace fillstation {
namespace {

// Counts the calls and knows their thread.
class Calls {
 public:
  void add() {
    const std::scoped_lock guard(lock_);
    ++count_;
    thread_ = std::this_thread::get_id();
    changed_.notify_all();
  }
  void waitFor(int count) {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [&] { return count_ >= count; });
  }
  int count() {
    const std::scoped_lock guard(lock_);
    return count_;
  }
  std::thread::id thread() {
    const std::scoped_lock guard(lock_);
    return thread_;
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int count_ = 0;
  std::thread::id thread_;
};

TEST(SignalQuit, EachOfItsSignalsCallsBackOnAThreadOfItsOwn) {
  Calls calls;
  const SignalQuit quit([&] { calls.add(); });
  int count = 0;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM}) {
    ::kill(::getpid(), signal);
    calls.waitFor(++count);
    EXPECT_EQ(calls.count(), count);
    EXPECT_NE(calls.thread(), std::this_thread::get_id());
  }
}

TEST(SignalQuit, GoesWithoutACall) {
  Calls calls;
  {
    const SignalQuit quit([&] { calls.add(); });
  }
  EXPECT_EQ(calls.count(), 0);
}

TEST(SignalQuit, BlocksItsSignalsAndIgnoresBrokenPipes) {
  std::signal(SIGPIPE, SIG_DFL);
  const SignalQuit quit([] {});
  sigset_t blocked;
  ::pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
  EXPECT_EQ(sigismember(&blocked, SIGINT), 1);
  EXPECT_EQ(sigismember(&blocked, SIGHUP), 1);
  EXPECT_EQ(sigismember(&blocked, SIGQUIT), 0);
  struct sigaction action {};
  ::sigaction(SIGPIPE, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_IGN);
}

}  // namespace
}  // namespace fillstation
