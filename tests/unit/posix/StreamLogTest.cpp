#include "StreamLog.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "FileHandle.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

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

// A stream whose descriptor keeps apart what is written apart.
class Records {
 public:
  Records() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()), 0);
    reading_ = FileHandle(ends[0]);
    stream_ = ::fdopen(ends[1], "w");
  }
  ~Records() { std::fclose(stream_); }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  std::FILE* stream() const { return stream_; }
  std::string next() {
    std::string record(300000, '\0');
    const ssize_t size = ::recv(reading_.get(), record.data(), record.size(), 0);
    record.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return record;
  }

 private:
  FileHandle reading_;
  std::FILE* stream_ = nullptr;
};

TEST(StreamLog, AddsOneLineFeedAndWritesAtOnceInOnePieceBehindWhatTheStreamStillHeld) {
  Records records;
  StreamLog log(records.stream());
  for (const std::string& text : {std::string("mounted"), std::string(), std::string("a\0b", 3),
                                  std::string("a\n\nb %s \xff\n"), std::string(100000, 'x')}) {
    log.write(text);
    EXPECT_EQ(records.next(), text + "\n");
  }
  std::fputs("earlier", records.stream());
  log.writeEach(std::vector<std::string>{"one", "", "two\n"});
  EXPECT_EQ(records.next(), "earlier");
  EXPECT_EQ(records.next(), "one\n\ntwo\n\n");
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

TEST(StreamLog, EndsWhenTheRestOfARecordFails) {
  const test::TempFolder folder;
  std::signal(SIGXFSZ, SIG_IGN);
  std::FILE* const stream = std::fopen(folder.path("log").c_str(), "w");
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{10, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &small);
  StreamLog log(stream);
  log.write("0123456789abcdef");
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::fclose(stream);
  EXPECT_EQ(test::contentOf(folder.path("log")), "0123456789");
}

// A log whose stream takes nothing: a thread is held in writing the record "held".
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

TEST_F(HeldStreamLog, SettlesWhenEverythingIsWritten) {
  log->write("one");
  start([] { StreamLog::settleAll(); });
  EXPECT_TRUE(lastIsHeld());
  EXPECT_EQ(readUntilAllHaveReturned(), held + "\none\n");
}

TEST(StreamLog, OneThatHasGoneNeedsNotSettle) {
  const Records records;
  { const StreamLog log(records.stream()); }
  StreamLog::settleAll();
}

}  // namespace
}  // namespace fillstation
