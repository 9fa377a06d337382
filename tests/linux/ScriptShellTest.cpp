#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>
#include <iterator>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "AgentProcess.h"
#include "AgentShell.h"
#include "FakeAgentTest.h"
#include "FileHandle.h"
#include "Format.h"

namespace fillstation::test {
namespace {

using Kind = AgentReply::Kind;

long openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

// Sends the thread signals for a while.
void disturb(std::thread& thread) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  ::sigaction(SIGUSR1, &action, nullptr);
  for (int time = 0; time < 20; ++time) {
    ::pthread_kill(thread.native_handle(), SIGUSR1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

struct Line {
  Line() {
    int ends[2];
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    one = FileHandle(ends[0]);
    other = FileHandle(ends[1]);
  }

  FileHandle one;
  FileHandle other;
};

// What arrives of a call that is cut off after this many bytes, and its end.
template <class Send, class Receive>
auto receivedOf(std::size_t bytes, const Send& send, const Receive& receive) {
  Line whole;
  EXPECT_TRUE(send(whole.one.get()));
  std::string sent(bytes, '\0');
  EXPECT_EQ(::recv(whole.other.get(), sent.data(), bytes, MSG_WAITALL),
            static_cast<ssize_t>(bytes));
  Line cut;
  EXPECT_EQ(::send(cut.one.get(), sent.data(), bytes, 0), static_cast<ssize_t>(bytes));
  cut.one = FileHandle();
  errno = EINTR;  // an earlier call's
  return receive(cut.other.get());
}

class ScriptProtocolTest : public testing::Test {
 protected:
  Line line_;
};

TEST_F(ScriptProtocolTest, ATextOrReplyThatIsCutShortIsNone) {
  const auto sendFour = [](int socket) { return sendText(socket, "four"); };
  for (const std::size_t bytes : {0U, 4U, 8U, 10U}) {
    EXPECT_EQ(receivedOf(bytes, sendFour, receiveText), std::nullopt) << bytes;
  }
  EXPECT_EQ(receivedOf(12, sendFour, receiveText), "four");
  const auto sendOutAndErr = [](int socket) {
    return sendReply(socket, {AgentReply::Kind::ended, 0, "out", "err"});
  };
  for (const std::size_t bytes : {0U, 7U, 8U, 19U, 29U}) {
    EXPECT_FALSE(receivedOf(bytes, sendOutAndErr, receiveReply)) << bytes;
  }
  EXPECT_TRUE(receivedOf(30, sendOutAndErr, receiveReply));
}

// After an upgrade, a window of the earlier version that is still open uses the new agent.
TEST_F(ScriptProtocolTest, TheBytesAreThoseOfEarlierVersions) {
  using std::string_literals::operator""s;
  EXPECT_TRUE(sendReply(line_.one.get(), {Kind::ended, 3, "ok", "e"}));
  const std::string bytes = "\1\0\0\0\3\0\0\0\2\0\0\0\0\0\0\0ok\1\0\0\0\0\0\0\0e"s;
  std::string sent(bytes.size(), '\0');
  EXPECT_EQ(::recv(line_.other.get(), sent.data(), sent.size(), MSG_WAITALL),
            static_cast<ssize_t>(bytes.size()));
  EXPECT_EQ(sent, bytes);
  const std::vector<Kind> kinds{Kind::verified,         Kind::ended,       Kind::cancelled,
                                Kind::wrongCredentials, Kind::unknownUser, Kind::notAdministrator,
                                Kind::needsMore,        Kind::notChecked,  Kind::unavailable};
  for (std::size_t number = 0; number < kinds.size(); ++number) {
    EXPECT_EQ(static_cast<std::size_t>(kinds[number]), number);
  }
}

TEST_F(ScriptProtocolTest, ATextThatClaimsToBeEndlessIsNone) {
  const std::uint64_t claimed[] = {(16U << 20U) + 1, ~std::uint64_t{0}};
  for (const std::uint64_t size : claimed) {
    EXPECT_EQ(::send(line_.one.get(), &size, sizeof size, 0), 8);
    EXPECT_EQ(receiveText(line_.other.get()), std::nullopt);
  }
}

TEST_F(ScriptProtocolTest, SendingWithoutAReceiverFailsWithoutASignal) {
  line_.other = FileHandle();
  EXPECT_FALSE(sendText(line_.one.get(), "text"));
  EXPECT_FALSE(sendReply(line_.one.get(), {}));
}

TEST_F(ScriptProtocolTest, TheLongestTextArrivesAndASignalDoesNotInterruptIt) {
  const std::string text(16U << 20U, 'x');
  std::optional<std::string> received;
  std::atomic<bool> isReading = false;
  std::thread reader([&] {
    isReading = true;
    received = receiveText(line_.other.get());
  });
  while (!isReading) {
    std::this_thread::yield();
  }
  disturb(reader);
  EXPECT_TRUE(sendText(line_.one.get(), text));
  reader.join();
  EXPECT_TRUE(received == text);
}

TEST(ScriptAgentTest, OnlyALanguageThatPkexecTakesIsKeptOfAnEnvironment) {
  for (const char* kept : {"LANG=de_DE.UTF-8", "LANG=", "LC_ALL=x", "LC_TIME=en_GB@euro"}) {
    EXPECT_TRUE(agent::isLanguage(kept)) << kept;
  }
  for (const char* left : {"LANG=/tmp", "LANG=%s", "LANG=..", "LC_ALL=a/b", "LC_ALL=a%b",
                           "LC_ALL=a..b", "LANGUAGE=de", "ALANG=C", "PATH=C", "LC", ""}) {
    EXPECT_FALSE(agent::isLanguage(left)) << left;
  }
}

TEST(ScriptAgentTest, APasswordOfMoreThan510BytesIsNotUsable) {
  EXPECT_TRUE(agent::isUsablePassword(std::string(510, 'x')));
  EXPECT_FALSE(agent::isUsablePassword(std::string(511, 'x')));
}

TEST_F(ScriptProtocolTest, AWipedTextIsGoneFromMemory) {
  std::string text = "a secret that is too long to be kept inside";
  const std::size_t size = text.size();
  const volatile char* memory = text.data();
  wipeText(text);
  EXPECT_EQ(text, "");
  int kept = 0;
  for (std::size_t at = 0; at < size; ++at) {
    kept += memory[at] != '\0' ? 1 : 0;
  }
  EXPECT_EQ(kept, 0);
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

TEST_F(ScriptShellTest, TheAgentHasTheSocketAloneAndASessionOfItsOwn) {
  EXPECT_EQ(run("surroundings").out, "own session 0=socket 1=/dev/null 2=/dev/null");
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
  const pid_t other = ::fork();
  if (other == 0) {
    ::_exit(0);
  }
  AgentShell none("/nothing/there", stopping_);
  const auto reply = none.run("boss", "0", "the command");
  EXPECT_EQ(reply.kind, Kind::unavailable);
  EXPECT_EQ(reply.err, "The agent program can't be started: No such file or directory");
  EXPECT_EQ(::waitpid(other, nullptr, 0), other) << "only its caller may wait for it";
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
  // Open descriptors stay open.
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
  const std::string all = noted();
  EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 2 * 36);
  // The first agent's view, before any had left.
  std::smatch seen;
  ASSERT_TRUE(std::regex_search(all, seen, std::regex("(^|\n)([0-9]+)\n")));
  EXPECT_EQ(seen[2], "32");
}

TEST_F(ScriptShellTest, AVerifiedCallHasGivenUpItsPlace) {
  for (const auto& reply : runMany(40, "together", "40")) {
    EXPECT_EQ(reply.kind, Kind::ended);
  }
}

TEST_F(ScriptShellTest, ASignalDoesNotInterruptTheWaitForTheAgentsEnd) {
  std::atomic<bool> isOver = false;
  std::thread caller([&] {
    EXPECT_EQ(run("lingers").kind, Kind::wrongCredentials);
    isOver = true;
  });
  while (!noted().ends_with("lingering\n")) {
    std::this_thread::yield();
  }
  disturb(caller);
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
  EXPECT_EQ(std::filesystem::path(thisProgram()).filename(), "script_run_test");
}

}  // namespace
}  // namespace fillstation::test
