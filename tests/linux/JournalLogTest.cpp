#include "JournalLog.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <thread>

#include "FileHandle.h"
#include "SystemLogContract.h"
#include "TempFolder.h"

namespace fillstation::test {

// A journal and a stream beside it.
class MockJournal {
 public:
  MockJournal() = default;
  ~MockJournal() { std::fclose(stream); }
  MockJournal(const MockJournal&) = delete;
  MockJournal& operator=(const MockJournal&) = delete;

  sockaddr_un address() const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
  }
  // From now on it takes entries at the socket.
  void listen() {
    journal = FileHandle(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_un at = address();
    ASSERT_EQ(::bind(journal.get(), reinterpret_cast<const sockaddr*>(&at), sizeof(at)), 0);
  }
  // The next entry, empty for none.
  std::string entry() const {
    std::array<char, 65536> buffer;
    const ssize_t count = ::recv(journal.get(), buffer.data(), buffer.size(), 0);
    return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }
  // All received records.
  std::vector<std::string> entries() const {
    std::vector<std::string> all;
    for (std::string next = entry(); !next.empty(); next = entry()) {
      all.push_back(next);
    }
    return all;
  }

  TempFolder folder;
  const std::string socketPath = folder.path("socket");
  FileHandle journal;
  std::FILE* const stream = std::fopen(folder.path("stream").c_str(), "w");
};

class JournalBackEnd : public SystemLogBackEnd, private MockJournal {
 public:
  JournalBackEnd() { listen(); }

  SystemLog& log() override { return log_; }
  std::string recorded() override {
    std::string all;
    for (const auto& each : entries()) {
      all += each;
    }
    return all;
  }
  std::string formOf(const std::vector<std::string>& texts) override {
    std::string all;
    for (const auto& text : texts) {
      std::string length(8, '\0');
      for (std::size_t byte = 0; byte < length.size(); ++byte) {
        length[byte] = static_cast<char>(text.size() >> (8 * byte));
      }
      all += "SYSLOG_IDENTIFIER=fillstation\nMESSAGE\n" + length + text + "\n";
    }
    return all;
  }
  void lose() override { std::filesystem::remove(socketPath); }

 private:
  JournalLog log_{stream, socketPath};
};

INSTANTIATE_TEST_SUITE_P(Linux, SystemLogContract,
                         testing::Values(SystemLogBackEndMaker{
                             "journal", [] {
                               return std::unique_ptr<SystemLogBackEnd>(new JournalBackEnd);
                             }}));

class JournalLogTest : public ::testing::Test, protected MockJournal {
 protected:
  void SetUp() override { ::unsetenv("JOURNAL_STREAM"); }
  void TearDown() override { ::unsetenv("JOURNAL_STREAM"); }

  // Has the journal hold as many entries as it can.
  void fill() const {
    const FileHandle other(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const sockaddr_un at = address();
    while (::sendto(other.get(), "other", 5, 0, reinterpret_cast<const sockaddr*>(&at),
                    sizeof(at)) >= 0) {
    }
  }
  // Whether one of our threads is busy: it is not waiting and has not ended.
  static bool isRunning(pid_t thread) {
    std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string words;
    std::getline(status, words);
    return words.find(") R ") != std::string::npos;
  }
  // Writes this number of texts; returns whether that needed no reader.
  bool writesAtOnce(JournalLog& log, int count, const std::string& text) const {
    auto written = std::async(std::launch::async, [&] {
      for (int number = 0; number < count; ++number) {
        log.write(text);
      }
    });
    if (written.wait_for(std::chrono::seconds(10)) == std::future_status::ready) {
      return true;
    }
    std::array<char, 4096> buffer;
    while (written.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
      entries();
      while (::recv(streamsEnd.get(), buffer.data(), buffer.size(), MSG_DONTWAIT) > 0) {
      }
    }
    return false;
  }
  // The stream leads to the journal, which holds its other end.
  void connectStream() {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    streamsEnd = FileHandle(ends[0]);
    const FileHandle ours(ends[1]);
    ASSERT_NE(::dup2(ours.get(), ::fileno(stream)), -1);
    sayStreamIsJournal();
  }
  std::string streamed() const { return contentOf(folder.path("stream")); }
  void sayStreamIsJournal(unsigned int offset = 0) const {
    struct stat status {};
    ::fstat(::fileno(stream), &status);
    const std::string name =
        std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino + offset);
    ::setenv("JOURNAL_STREAM", name.c_str(), 1);
  }

  FileHandle streamsEnd;
};

TEST_F(JournalLogTest, FieldsStandBesideTheTextWithTheirLengths) {
  listen();
  JournalLog log(stream, socketPath);
  log.writeWith("done\n", {{"FILE", "a\nb"}, {"SLOT", ""}});
  const std::string three("\3\0\0\0\0\0\0\0", 8);
  const std::string none(8, '\0');
  const std::string five("\5\0\0\0\0\0\0\0", 8);
  EXPECT_EQ(entry(), "SYSLOG_IDENTIFIER=fillstation\nFILLSTATION_FILE\n" + three +
                         "a\nb\nFILLSTATION_SLOT\n" + none + "\nMESSAGE\n" + five + "done\n\n");
}

TEST_F(JournalLogTest, AStreamThatIsNotTheJournalGetsEachTextAsWell) {
  listen();
  JournalLog(stream, socketPath).write("one");
  sayStreamIsJournal(1);
  JournalLog(stream, socketPath).write("two\n");
  sayStreamIsJournal();
  JournalLog(stream, socketPath).write("three");
  EXPECT_EQ(streamed(), "one\ntwo\n\n");
  EXPECT_EQ(entries().size(), 3U);
}

TEST_F(JournalLogTest, WithoutAJournalTheStreamGetsEverythingUntilThereIsOne) {
  JournalLog log(stream, socketPath);
  log.write("one");
  sayStreamIsJournal();
  JournalLog connected(stream, socketPath);
  connected.write("two");
  EXPECT_EQ(streamed(), "one\ntwo\n");
  listen();
  connected.write("three");
  // It has missed nothing: it wasn't there.
  EXPECT_TRUE(entry().starts_with("SYSLOG_IDENTIFIER=fillstation\nMESSAGE\n\x05"));
  EXPECT_EQ(entry(), "");
  EXPECT_EQ(streamed(), "one\ntwo\n");
}

TEST_F(JournalLogTest, AJournalThatDoesNotReadBlocksNothingAndGetsTheNumberOfMissedRecords) {
  constexpr int kTexts = 2000;
  listen();
  JournalLog log(stream, socketPath, std::chrono::milliseconds(20));
  EXPECT_TRUE(writesAtOnce(log, kTexts, "one"));
  EXPECT_EQ(streamed().size(), kTexts * 4U);
  const std::size_t taken = entries().size();
  EXPECT_GT(taken, 0U);
  log.write("two");
  EXPECT_TRUE(entry().starts_with("SYSLOG_IDENTIFIER=fillstation\nFILLSTATION_MISSED=" +
                                  std::to_string(kTexts - taken) + "\nMESSAGE\n\x03"));
  log.write("three");
  EXPECT_TRUE(entry().starts_with("SYSLOG_IDENTIFIER=fillstation\nMESSAGE\n\x05"));
  EXPECT_EQ(entry(), "");
  fill();
  log.write("four");
  entries();
  log.write("five");
  EXPECT_NE(entry().find("\nFILLSTATION_MISSED=1\n"), std::string::npos);
}

TEST_F(JournalLogTest, AStreamThatLeadsToTheJournalThatDoesNotReadIsNotWaitedForEither) {
  constexpr int kTexts = 2000;
  listen();
  connectStream();
  JournalLog log(stream, socketPath, std::chrono::milliseconds(1));
  EXPECT_TRUE(writesAtOnce(log, kTexts, std::string(1000, 'x')));
  char first = 0;
  EXPECT_EQ(::recv(streamsEnd.get(), &first, 1, MSG_DONTWAIT), 1);
  const std::size_t taken = entries().size();
  log.write("two");
  EXPECT_NE(entry().find("MISSED=" + std::to_string(kTexts - taken) + "\n"), std::string::npos);
}

TEST_F(JournalLogTest, AJournalThatIsSlowerThanWeAreGetsEverything) {
  listen();
  JournalLog log(stream, socketPath, std::chrono::minutes(1));
  fill();
  std::promise<pid_t> started;
  auto written = std::async(std::launch::async, [&] {
    started.set_value(::gettid());
    log.write("late");
  });
  const pid_t writer = started.get_future().get();
  while (isRunning(writer) &&
         written.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
    std::this_thread::yield();
  }
  auto last = entries();
  written.get();
  const auto rest = entries();
  last.insert(last.end(), rest.begin(), rest.end());
  EXPECT_TRUE(last.back().ends_with("late\n"));
}

}  // namespace fillstation::test
