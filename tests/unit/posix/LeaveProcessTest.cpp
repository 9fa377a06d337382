#include "LeaveProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FileHandle.h"
#include "StreamLog.h"
#include "TempFolder.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"

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

TEST_F(LeaveProcess, FlushesStreamsAndLogGivesTheStatusAndRunsNoExitHandlers) {
  const std::string out = sharedPath("out");
  const std::string err = sharedPath("err");
  const std::string path = sharedPath("log");
  EXPECT_EXIT(
      {
        std::atexit([] { ::_exit(99); });
        redirect(stdout, out);
        redirect(stderr, err);
        std::setvbuf(stderr, nullptr, _IOFBF, 4096);
        std::fputs("held back", stdout);
        std::fputs("held back", stderr);
        StreamLog log(std::fopen(path.c_str(), "w"));
        LogBatch batch(log);
        batch.add("recorded");
        leaveProcess(7);
      },
      testing::ExitedWithCode(7), "");
  EXPECT_TRUE(test::contentOf(out).ends_with("held back")) << test::contentOf(out);
  EXPECT_EQ(test::contentOf(err), "held back");
  EXPECT_EQ(test::contentOf(path), "recorded\n");
  for (const std::string& file : {out, err, path}) {
    ::unlink(file.c_str());
  }
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
  // All except the contents of the pipe and one piece on its way.
  EXPECT_GE(test::contentOf(path).size(), 200'001U - 65'536U - 4'096U);
  ::unlink(path.c_str());
}

TEST_F(LeaveProcess, IsNotBlockedByAStreamWithoutAReader) {
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
  int sent = 0;
  {
    const SignalQuit quit([&] {
      ++calls;
      thread = std::this_thread::get_id();
      called.release();
    });
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGTERM}) {
      ::kill(::getpid(), signal);
      called.acquire();
      EXPECT_EQ(calls, ++sent);
      EXPECT_NE(thread.load(), std::this_thread::get_id());
    }
  }
  EXPECT_EQ(calls, sent) << "it goes without a call";
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

// Destroyed with the body that holds it, which takes a moment.
struct SlowToGo {
  SlowToGo(std::atomic<int>& counter, int milliseconds) : gone(counter), delay(milliseconds) {}
  ~SlowToGo() {
    std::this_thread::sleep_for(std::chrono::milliseconds(delay));
    ++gone;
  }
  std::atomic<int>& gone;
  const int delay;
};

TEST(ThreadWorkers, JoinAllWaitsUntilEveryBodyIsDestroyed) {
  StopSource stop;
  ThreadWorkers workers(stop);
  std::atomic<int> gone{0};
  workers.joinAll();
  for (const int delay : {20, 1, 10}) {
    workers.spawn([held = std::make_shared<SlowToGo>(gone, delay)] {});
  }
  workers.joinAll();
  EXPECT_EQ(gone, 3);
  {
    ThreadWorkers others(stop);
    others.spawn([held = std::make_shared<SlowToGo>(gone, 10)] {});
  }
  EXPECT_EQ(gone, 4) << "and so does the end";
}

// Everything that comes until the other end is closed.
std::string readAll(int descriptor) {
  std::string received;
  std::array<char, 65536> buffer;
  for (ssize_t count = 1; count > 0;) {
    count = ::read(descriptor, buffer.data(), buffer.size());
    received.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  }
  return received;
}

TEST(StreamLog, WritesAtOnceAfterTheStreamsEarlierContents) {
  std::FILE* const stream = std::tmpfile();
  {
    StreamLog log(stream);
    std::fputs("earlier ", stream);
    log.write("text");
    log.writeEach(std::vector<std::string>{"one", "", "two\n"});
    log.writeWith("three", {{"FIELD", "is for other logs"}});
    std::array<char, 100> buffer{};
    ::pread(::fileno(stream), buffer.data(), buffer.size() - 1, 0);
    EXPECT_STREQ(buffer.data(), "earlier text\none\n\ntwo\n\nthree\n");
  }
  std::fclose(stream);
  StreamLog::settleAll();
}

TEST(StreamLog, LosesWhatAStreamRefuses) {
  std::FILE* const full = std::fopen("/dev/full", "w");
  {
    StreamLog log(full);
    log.write("lost");
    log.write("lost too");
  }
  std::fclose(full);
}

TEST(StreamLog, WritesTheRestOfARecordThatASignalCutShort) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGUSR1, &action, nullptr);
  std::array<int, 2> ends{};
  ASSERT_EQ(::pipe(ends.data()), 0);
  const FileHandle reading(ends[0]);
  std::FILE* const stream = ::fdopen(ends[1], "w");
  const std::string text(1000000, 'y');
  std::thread writer([&] {
    StreamLog log(stream);
    log.write(text);
    std::fclose(stream);
  });
  int waiting = 0;
  while (waiting < 65536) {
    ::ioctl(reading.get(), FIONREAD, &waiting);
  }
  ::pthread_kill(writer.native_handle(), SIGUSR1);
  const std::string received = readAll(reading.get());
  writer.join();
  EXPECT_EQ(received, text + "\n");
}

// A log whose stream accepts nothing: a thread is stuck in writing the record "held".
class HeldStreamLog : public testing::Test {
 protected:
  HeldStreamLog() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    reading_ = FileHandle(ends[0]);
    stream_ = ::fdopen(ends[1], "w");
    ::fcntl(ends[1], F_SETPIPE_SZ, 4096);
    log = std::make_unique<StreamLog>(stream_);
    threads.push_back(std::async(std::launch::async, [this] { log->write(held); }));
    int waiting = 0;
    while (waiting < 4096) {
      ::ioctl(reading_.get(), FIONREAD, &waiting);
    }
  }
  ~HeldStreamLog() override { std::fclose(stream_); }

  void start(const std::function<void()>& body) {
    threads.push_back(std::async(std::launch::async, body));
  }
  // Whether the thread that was started last is held too, as far as a while can show it.
  bool lastIsHeld() {
    for (int look = 0; look < 1000; ++look) {
      std::this_thread::yield();
    }
    return threads.back().wait_for(std::chrono::seconds(0)) == std::future_status::timeout;
  }
  std::string readUntilAllHaveReturned() {
    std::thread closing([this] {
      threads.clear();
      std::fclose(std::exchange(stream_, std::fopen("/dev/null", "w")));
    });
    std::string received = readAll(reading_.get());
    closing.join();
    return received;
  }

  const std::string held = std::string(10000, 'h');
  std::unique_ptr<StreamLog> log;
  std::vector<std::future<void>> threads;

 private:
  FileHandle reading_;
  std::FILE* stream_ = nullptr;
};

TEST_F(HeldStreamLog, LeavesARecordToTheThreadThatIsWriting) {
  log->write("one");
  log->writeEach(std::vector<std::string>{"two", "three"});
  EXPECT_EQ(readUntilAllHaveReturned(), held + "\none\ntwo\nthree\n");
}

TEST_F(HeldStreamLog, WaitsWhileVeryMuchIsWaiting) {
  const std::string much(StreamLog::kMost - 2, 'm');
  log->write(much);
  log->write("");
  start([this] { log->write("late"); });
  EXPECT_TRUE(lastIsHeld());
  start([this] { log->writeEach(std::vector<std::string>{"late"}); });
  EXPECT_TRUE(lastIsHeld());
  EXPECT_EQ(readUntilAllHaveReturned(), held + "\n" + much + "\n\nlate\nlate\n");
}

TEST(LogBatch, RecordsWhenFullWhenTheProcessLeavesAndWhenDestroyed) {
  test::TestLog log;
  EXPECT_EQ(LogBatch::kMost, 256U);
  {
    LogBatch batch(log);
    for (int text = 0; text < 255; ++text) {
      batch.add(std::to_string(text));
    }
    EXPECT_TRUE(log.texts().empty());
    batch.add("last");
    EXPECT_EQ(log.texts().size(), 256U);
    batch.add("one");
    LogBatch::recordCurrent();
    EXPECT_EQ(log.texts().size(), 257U);
    batch.add("two\n");
    EXPECT_EQ(log.texts().size(), 257U);
  }
  LogBatch::recordCurrent();
  EXPECT_EQ(log.texts().size(), 258U);
  EXPECT_EQ(log.texts().back(), "two\n");
}

}  // namespace
}  // namespace fillstation
