#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "AgentShell.h"
#include "FakeAgentTest.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

long openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

// The utility's side of a call.
class ScriptShellTest : public FakeAgentTest {
 protected:
  AgentReply run(const std::string& user, const std::string& password = {}) {
    return shell_.run(user, password, "the command");
  }
  // All at once.
  std::vector<AgentReply> runMany(int count, const std::string& user, const std::string& password) {
    std::vector<AgentReply> replies(static_cast<std::size_t>(count));
    std::vector<std::thread> threads;
    for (auto& reply : replies) {
      threads.emplace_back([&] { reply = run(user, password); });
    }
    for (auto& thread : threads) {
      thread.join();
    }
    return replies;
  }

  std::function<bool()> stopping_ = [] { return false; };
  AgentShell shell_{FAKE_AGENT, [this] { return stopping_(); }};
};

TEST_F(ScriptShellTest, TheCommandFollowsTheVerifiedCredentials) {
  const auto reply = run("boss", "3");
  EXPECT_EQ(reply.kind, Kind::ended);
  EXPECT_EQ(reply.exitStatus, 3);
  EXPECT_EQ(reply.out, "its output");
  EXPECT_EQ(reply.err, "its /dev/fd/9 error");
  EXPECT_EQ(noted(), "user boss password 3\ncommand the command\n");
}

TEST_F(ScriptShellTest, ARefusalComesBackAndTheCommandIsNotSent) {
  const auto reply = run("kind", std::to_string(static_cast<int>(Kind::needsMore)));
  EXPECT_EQ(reply.kind, Kind::needsMore);
  EXPECT_EQ(reply.err, "the reason");
  EXPECT_EQ(noted(), "user kind password 6\n");
}

TEST_F(ScriptShellTest, TheAgentHasTheSocketAloneAndASessionOfItsOwn) {
  EXPECT_EQ(run("surroundings").out, "own session 0=socket 1=/dev/null 2=/dev/null");
}

TEST_F(ScriptShellTest, WhenTheProgramIsEndingNoAgentIsStarted) {
  stopping_ = [] { return true; };
  EXPECT_EQ(run("boss", "0").kind, Kind::cancelled);
  EXPECT_EQ(noted(), "");
}

TEST_F(ScriptShellTest, WhenTheProgramEndsAnAuthenticationIsCancelled) {
  stopping_ = [this] { return noted().ends_with("waiting\n"); };
  EXPECT_EQ(run("waits").kind, Kind::cancelled);
}

TEST_F(ScriptShellTest, WhenTheProgramEndsAfterTheAuthenticationTheCommandIsNotSent) {
  std::atomic<int> asked = 0;
  stopping_ = [&] { return asked++ > 0; };
  EXPECT_EQ(run("boss", "0").kind, Kind::cancelled);
  EXPECT_TRUE(noted().ends_with("no command\n")) << noted();
}

TEST_F(ScriptShellTest, AnAgentThatCantBeStartedIsAnError) {
  AgentShell none("/nothing/there", stopping_);
  const auto reply = none.run("boss", "0", "the command");
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "The agent program can't be started: No such file or directory");
}

TEST_F(ScriptShellTest, WithoutFilesLeftToOpenNoAgentIsStarted) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const auto reply = run("boss", "0");
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "The agent program can't be started: Too many open files");
  // What is open stays so.
  EXPECT_NE(::fcntl(0, F_GETFD), -1);
}

TEST_F(ScriptShellTest, AnAgentThatLeavesIsAnError) {
  for (const char* moment : {"at once", "verified"}) {
    const auto reply = run("leaves", moment);
    EXPECT_EQ(reply.kind, Kind::unavailable) << moment;
    EXPECT_EQ(reply.err, "The agent program has gone: Connection reset by peer");
  }
}

TEST_F(ScriptShellTest, NoMoreThan32AreAuthenticatedAtOnce) {
  EXPECT_EQ(AgentShell::kMostAtOnce, 32);
  runMany(36, "crowd", "32");
  std::istringstream lines(noted());
  std::vector<std::string> crowds;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("user")) {
      crowds.push_back(line);
    }
  }
  ASSERT_EQ(crowds.size(), 36U);
  // What the first of them saw, before any had left.
  EXPECT_EQ(crowds.front(), "32");
}

TEST_F(ScriptShellTest, AVerifiedCallHasGivenUpItsPlace) {
  for (const auto& reply : runMany(40, "together", "40")) {
    EXPECT_EQ(reply.kind, Kind::ended);
  }
}

TEST_F(ScriptShellTest, ASignalDoesNotInterruptTheWaitForTheAgentsEnd) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGUSR1, &action, nullptr);
  std::atomic<bool> isOver = false;
  std::thread caller([&] {
    EXPECT_EQ(run("lingers").kind, Kind::wrongCredentials);
    isOver = true;
  });
  while (!noted().ends_with("lingering\n")) {
    std::this_thread::yield();
  }
  for (int time = 0; time < 20; ++time) {
    ::pthread_kill(caller.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  EXPECT_FALSE(isOver);
  go();
  caller.join();
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
}

TEST_F(ScriptShellTest, NothingOfACallIsLeft) {
  const long before = openDescriptors();
  run("boss", "0");
  run("leaves");
  run("kind", "2");
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

TEST(ScriptAgentPathTest, IsBesideTheProgramOrInAFolderOfItsOwn) {
  const TempFolder folder;
  const std::string program = folder.path("bin/fillstation");
  const std::string installed = folder.path("libexec/fillstation/fillstation-agent");
  EXPECT_EQ(agentOf(program), installed);
  const std::string beside = folder.write("bin/fillstation-agent", "");
  EXPECT_EQ(agentOf(program), installed) << "it can't be run";
  std::filesystem::permissions(beside, std::filesystem::perms::owner_all);
  EXPECT_EQ(agentOf(program), beside);
}

TEST(ScriptAgentPathTest, TheRunningProgramIsThisTest) {
  EXPECT_EQ(std::filesystem::path(thisProgram()).filename(), "script_run_test");
}

}  // namespace
}  // namespace fillstation::test
