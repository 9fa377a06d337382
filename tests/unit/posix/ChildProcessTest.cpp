#include "ChildProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "FileHandle.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// The process reads this file meanwhile.
class StandardInput {
 public:
  explicit StandardInput(const std::string& path) : before_(::dup(0)) {
    ::dup2(FileHandle(::open(path.c_str(), O_RDONLY | O_CLOEXEC)).get(), 0);
  }
  ~StandardInput() { ::dup2(before_.get(), 0); }
  StandardInput(const StandardInput&) = delete;
  StandardInput& operator=(const StandardInput&) = delete;

 private:
  const FileHandle before_;
};

TEST(RunShell, GivesBothOutputsAndHowItEnded) {
  struct Case {
    std::string line;
    ShellResult expected;
  };
  const std::vector<Case> cases{
      {"echo out; echo err >&2; printf 'no line feed'", {0, "out\nno line feed", "err\n"}},
      {"echo \"$FILLSTATION_TEST\"", {0, "a b\n", ""}},
      {"exit 1", {1, "", ""}},
      {"exit 255", {255, "", ""}},
      {"echo before; kill -KILL $$", {137, "before\n", ""}},
      {"cat; readlink /proc/$$/fd/0", {0, "/dev/null\n", ""}}};
  const test::TempFolder folder;
  const StandardInput ours(folder.write("ours", "not the child's"));
  ::setenv("FILLSTATION_TEST", "a b", 1);
  for (const auto& [line, expected] : cases) {
    const ShellResult result = runShell(line);
    EXPECT_EQ(result.exitStatus, expected.exitStatus) << line;
    EXPECT_EQ(result.out, expected.out) << line;
    EXPECT_EQ(result.err, expected.err) << line;
  }
  ::unsetenv("FILLSTATION_TEST");
}

TEST(RunShell, TakesLargeOutputsOnBothStreamsAtOnce) {
  const auto result = runShell("head -c 1000000 /dev/zero >&2; head -c 1000000 /dev/zero");
  EXPECT_EQ(result.out, std::string(1'000'000, '\0'));
  EXPECT_EQ(result.err, std::string(1'000'000, '\0'));
}

TEST(RunShell, HandsDescriptorsOverAtAnyNumbers) {
  const test::TempFolder folder;
  const FileHandle first(::open(folder.write("1", "one").c_str(), O_RDONLY | O_CLOEXEC));
  const FileHandle second(::open(folder.write("2", "two").c_str(), O_RDONLY));
  EXPECT_EQ(runShell("cat <&9; cat <&3", {{first.get(), 9}, {second.get(), 3}}).out, "onetwo");
  ::lseek(first.get(), 0, SEEK_SET);
  ::lseek(second.get(), 0, SEEK_SET);
  const int low = first.get();
  const int high = second.get();
  ASSERT_LT(high, 10) << "the shell takes one digit";
  EXPECT_EQ(runShell("cat <&" + std::to_string(low) + "; cat <&" + std::to_string(high),
                     {{low, high}, {high, low}})
                .out,
            "twoone");
  EXPECT_TRUE(::fcntl(low, F_GETFD) >= 0 && ::fcntl(high, F_GETFD) >= 0);
}

TEST(RunShell, GetsNoOtherDescriptorOfOurs) {
  std::vector<FileHandle> open;
  while (open.size() < 8) {
    open.emplace_back(::open("/dev/null", O_RDONLY));
  }
  EXPECT_EQ(runShell("ls /proc/$$/fd; true").out, "0\n1\n2\n");
  EXPECT_EQ(runShell("ls /proc/$$/fd; true", {{open[0].get(), 6}}).out, "0\n1\n2\n6\n");
}

TEST(RunShell, BeginsWithDefaultSignals) {
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGUSR2, SIG_IGN);
  sigset_t blocked;
  sigset_t before;
  ::sigemptyset(&blocked);
  ::sigaddset(&blocked, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
  // The shell itself checks: it blocks all signals while it waits for a program.
  const auto result = runShell(
      "while read -r name value; do case $name in SigBlk:|SigIgn:) echo $name $value; esac; done "
      "</proc/self/status");
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  std::signal(SIGUSR2, SIG_DFL);
  // Signals 32 and 33 are the C library's own and can't be set.
  EXPECT_TRUE(result.out == "SigBlk: 0000000000000000\nSigIgn: 0000000000000000\n" ||
              result.out == "SigBlk: 0000000000000000\nSigIgn: 0000000180000000\n")
      << result.out;
}

TEST(RunShell, HandsOverNoDescriptorThatIsNotOpenAndLeavesNoneAndNoChildBehind) {
  const auto before = openDescriptors();
  EXPECT_EQ(runShell("true", {{-1, 5}}).err, "Bad file descriptor");
  EXPECT_EQ(runShell("true", {{-1, 5}}).exitStatus, 255);
  EXPECT_EQ(runShell("true", {{-1, 5}}).out, "");
  runShell("echo a; exit 3");
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST(RunShell, SignalsDoNotDisturbTheWaiting) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGALRM, &action, nullptr);
  const itimerval often{{0, 500}, {0, 500}};
  const itimerval never{};
  ::setitimer(ITIMER_REAL, &often, nullptr);
  const auto result = runShell("sleep 0.02; echo done; exec 1>&- 2>&-; sleep 0.02; exit 4");
  ::setitimer(ITIMER_REAL, &never, nullptr);
  EXPECT_EQ(result.out, "done\n");
  EXPECT_EQ(result.exitStatus, 4);
}

TEST(RunShell, AnEndThatTheSystemDoesNotTellIsNoSuccess) {
  std::signal(SIGCHLD, SIG_IGN);
  const auto result = runShell("echo a");
  std::signal(SIGCHLD, SIG_DFL);
  EXPECT_EQ(result.out, "a\n");
  EXPECT_EQ(result.exitStatus, 255);
}

TEST(Pipe, IsReadToItsEndAndNotOpenedWithoutDescriptors) {
  Pipe pipe;
  ASSERT_TRUE(pipe.open());
  std::string text;
  for (const std::string piece : {"a", "bc"}) {
    writeAll(pipe.writing.get(), piece);
    EXPECT_TRUE(readSome(pipe.reading.get(), text));
  }
  pipe.writing = {};
  EXPECT_FALSE(readSome(pipe.reading.get(), text));
  EXPECT_FALSE(readSome(-1, text));
  EXPECT_EQ(text, "abc");
  rlimit before{};
  ::getrlimit(RLIMIT_NOFILE, &before);
  const rlimit none{0, before.rlim_max};
  ::setrlimit(RLIMIT_NOFILE, &none);
  const bool isOpened = Pipe().open();
  const int error = errno;
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_FALSE(isOpened);
  EXPECT_EQ(error, EMFILE);
}

// Runs the setup's child to its end.
void runShell(ChildSetup& setup, const std::string& commandLine) {
  pid_t child = 0;
  ASSERT_EQ(setup.start({"sh", "-c", commandLine}, child), 0);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
}

TEST(ChildSetup, DiscardedStreamsCanBeWrittenAndGoNowhere) {
  const test::TempFolder folder;
  ChildSetup setup;
  setup.discard(2);
  setup.discard(1);
  runShell(setup,
           "streams=$(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2); echo gone && "
           "echo gone >&2 && echo \"$streams\" >'" +
               folder.path("fds") + "'");
  EXPECT_EQ(test::contentOf(folder.path("fds")), "/dev/null\n/dev/null\n/dev/null\n");
}

TEST(ChildSetup, HandsOverAStandardInput) {
  const test::TempFolder folder;
  const FileHandle file(::open(folder.write("input", "text").c_str(), O_RDONLY | O_CLOEXEC));
  ChildSetup setup;
  setup.hand(file.get(), 0);
  runShell(setup, "cat >'" + folder.path("output") + "'");
  EXPECT_EQ(test::contentOf(folder.path("output")), "text");
}

TEST(ChildSetup, StartsASessionOnlyWhenToldTo) {
  const test::TempFolder folder;
  const std::string tell =
      "read -r a b c d e session rest </proc/$$/stat; test $session = $$ && "
      "touch '";
  ChildSetup same;
  runShell(same, tell + folder.path("same") + "'");
  EXPECT_FALSE(std::filesystem::exists(folder.path("same")));
  ChildSetup own;
  own.startSession();
  runShell(own, tell + folder.path("own") + "'");
  EXPECT_TRUE(std::filesystem::exists(folder.path("own")));
}

TEST(ChildSetup, SaysWhyAProgramCannotBeStarted) {
  ChildSetup setup;
  pid_t child = 0;
  EXPECT_EQ(setup.start({"fillstation-no-such-program"}, child), ENOENT);
}

}  // namespace
}  // namespace fillstation
