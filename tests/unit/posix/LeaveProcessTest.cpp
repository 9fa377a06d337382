#include "LeaveProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "LogBatch.h"
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

TEST_F(LeaveProcess, FlushesStandardOutput) {
  const std::string path = sharedPath("out");
  EXPECT_EXIT(
      {
        redirect(stdout, path);
        std::fputs("held back", stdout);
        leaveProcess(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_TRUE(test::contentOf(path).ends_with("held back")) << test::contentOf(path);
  ::unlink(path.c_str());
}

TEST_F(LeaveProcess, FlushesStandardError) {
  const std::string path = sharedPath("err");
  EXPECT_EXIT(
      {
        redirect(stderr, path);
        std::setvbuf(stderr, nullptr, _IOFBF, 4096);
        std::fputs("held back", stderr);
        leaveProcess(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(test::contentOf(path), "held back");
  ::unlink(path.c_str());
}

TEST_F(LeaveProcess, RecordsWhatTheLogStillHolds) {
  const std::string path = sharedPath("log");
  EXPECT_EXIT(
      {
        redirect(stderr, path);
        StreamLog log(stderr);
        platform().systemLog = &log;
        LogBatch batch;
        batch.add("held back");
        leaveProcess(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ(test::contentOf(path), "held back\n");
  ::unlink(path.c_str());
}

TEST_F(LeaveProcess, LetsAnotherThreadsRecordsReachTheStream) {
  const std::string path = sharedPath("settled");
  EXPECT_EXIT(
      {
        class SlowLog : public SystemLog {
         public:
          void write(std::string_view /*text*/) override {}
          void settle() override { std::fputs("settled", stdout); }
        };
        redirect(stdout, path);
        SlowLog log;
        platform().systemLog = &log;
        leaveProcess(0);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_TRUE(test::contentOf(path).ends_with("settled")) << test::contentOf(path);
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

}  // namespace
}  // namespace fillstation
