#include "LeaveProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <semaphore>
#include <string>
#include <thread>

#include "StreamLog.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

class LeaveProcess : public testing::Test {
 protected:
  LeaveProcess() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

// Somewhere that a second start of this program finds again.
std::string sharedPath(const char* name) {
  return testing::TempDir() + "fillstation-leave-" + std::to_string(::getuid()) + "-" + name;
}

void redirect(std::FILE* stream, const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ::dup2(file, ::fileno(stream));
}

// Connects it to a pipe that is full and never read.
void stuffStandardOutput() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) {
    ::_exit(98);
  }
  ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
  while (::write(ends[1], "x", 1) == 1) {
  }
  ::fcntl(ends[1], F_SETFL, 0);
  ::dup2(ends[1], STDOUT_FILENO);
}

TEST_F(LeaveProcess, FlushesTheStandardStreams) {
  const std::string out = sharedPath("out");
  const std::string err = sharedPath("err");
  EXPECT_EXIT(
      {
        redirect(stdout, out);
        redirect(stderr, err);
        std::setvbuf(stderr, nullptr, _IOFBF, 4096);
        std::fputs("held back", stdout);
        std::fputs("held back", stderr);
        leaveProcess(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_TRUE(test::contentOf(out).ends_with("held back")) << test::contentOf(out);
  EXPECT_EQ(test::contentOf(err), "held back");
  ::unlink(out.c_str());
  ::unlink(err.c_str());
}

TEST_F(LeaveProcess, RecordsWhatTheLogStillHolds) {
  const std::string path = sharedPath("log");
  EXPECT_EXIT(
      {
        redirect(stderr, path);
        StreamLog log(stderr);
        LogBatch batch(log);
        batch.add("held back");
        leaveProcess(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(test::contentOf(path), "held back\n");
  ::unlink(path.c_str());
}

// Two threads: one is held in writing to a pipe that is full, the other one empties it into a file
// after a while.
TEST_F(LeaveProcess, LetsAnotherThreadsRecordsReachTheStream) {
  const std::string path = sharedPath("settled");
  const auto leave = [&path] {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
      ::_exit(98);
    }
    StreamLog log(::fdopen(ends[1], "w"));
    const std::string much(200'000, 'x');
    std::thread([&] { log.write(much); }).detach();
    for (int waiting = 0; waiting < 65536;) {
      ::ioctl(ends[0], FIONREAD, &waiting);
    }
    std::thread([&] {
      for (int turn = 0; turn < 1000; ++turn) {
        std::this_thread::yield();
      }
      const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      std::array<char, 4096> buffer{};
      for (ssize_t count = 1; count > 0;) {
        count = ::read(ends[0], buffer.data(), buffer.size());
        count = ::write(file, buffer.data(), static_cast<std::size_t>(count));
      }
    }).detach();
    leaveProcess(0);
  };
  EXPECT_EXIT(leave(), testing::ExitedWithCode(0), "");
  // All but what the pipe holds, and one piece on its way.
  EXPECT_GE(test::contentOf(path).size(), 200'001U - 65'536U - 4'096U);
  ::unlink(path.c_str());
}

TEST_F(LeaveProcess, GivesTheStatusAndRunsNoExitHandlers) {
  EXPECT_EXIT(
      {
        std::atexit([] { ::_exit(99); });
        leaveProcess(7);
      },
      testing::ExitedWithCode(7), "");
}

TEST_F(LeaveProcess, IsNotHeldByAStreamThatNobodyReads) {
  EXPECT_EXIT(
      {
        stuffStandardOutput();
        std::fputs("stuck", stdout);
        leaveProcess(3);
      },
      testing::ExitedWithCode(3), "");
}

TEST(SignalQuit, EachOfItsSignalsCallsBackOnAThreadOfItsOwn) {
  std::atomic<std::thread::id> thread;
  std::atomic<int> calls = 0;
  std::binary_semaphore called(0);
  const SignalQuit quit([&] {
    ++calls;
    thread = std::this_thread::get_id();
    called.release();
  });
  int sent = 0;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM}) {
    ::kill(::getpid(), signal);
    called.acquire();
    EXPECT_EQ(calls, ++sent);
    EXPECT_NE(thread.load(), std::this_thread::get_id());
  }
}

TEST(SignalQuit, GoesWithoutACall) {
  int calls = 0;
  {
    const SignalQuit quit([&] { ++calls; });
  }
  EXPECT_EQ(calls, 0);
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
