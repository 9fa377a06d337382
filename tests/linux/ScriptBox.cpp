#include "ScriptBox.h"

#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "ChildProcess.h"

namespace fillstation::test {

std::string& boxRefusal() {
  static std::string reason;
  return reason;
}

Window::Window(const std::string& user, const std::vector<Call>& calls) : calls_(calls.size()) {
  int ends[2];
  EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
  socket_ = FileHandle(ends[0]);
  const FileHandle theirs(ends[1]);
  ChildSetup setup;
  setup.hand(theirs.get(), 0);
  EXPECT_EQ(setup.start({"setpriv", "--reuid=" + user, "--regid=nogroup", "--clear-groups", "env",
                         "-i", "PATH=/usr/bin:/bin", "LANG=C.UTF-8", "SECRET_OF_WINDOW=1",
                         "/run/box/driver", "/run/box/agent"},
                        child_),
            0);
  EXPECT_TRUE(sendText(socket_.get(), std::to_string(calls.size())));
  for (const Call& call : calls) {
    EXPECT_TRUE(sendText(socket_.get(), call.user) && sendText(socket_.get(), call.password) &&
                sendText(socket_.get(), call.command));
  }
}

Window::~Window() {
  socket_ = FileHandle();
  ::waitpid(child_, nullptr, 0);
}

std::vector<AgentReply> Window::replies() {
  std::vector<AgentReply> all;
  for (std::size_t call = 0; call < calls_; ++call) {
    auto reply = receiveReply(socket_.get());
    EXPECT_TRUE(reply) << "the window has gone";
    if (!reply) {
      break;
    }
    all.push_back(*reply);
  }
  return all;
}

void Window::stop() { ::shutdown(socket_.get(), SHUT_WR); }

void Window::kill() { ::kill(child_, SIGKILL); }

AgentReply runAs(const std::string& user, const Call& call) {
  const auto replies = Window(user, {call}).replies();
  return replies.empty() ? AgentReply{} : replies.front();
}

void ScriptBoxTest::SetUp() {
  if (!boxRefusal().empty()) {
    GTEST_SKIP() << boxRefusal();
  }
}

void ScriptBoxTest::shell(const std::string& command) {
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
}

void ScriptBoxTest::writeFile(const std::string& path, const std::string& text) {
  EXPECT_TRUE(std::ofstream(path) << text << std::flush) << path;
}

std::string ScriptBoxTest::read(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

bool ScriptBoxTest::exists(const std::string& path) { return std::filesystem::exists(path); }

void ScriptBoxTest::await(const std::function<bool()>& condition, const std::string& what) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    ASSERT_LT(std::chrono::steady_clock::now(), limit) << "never happened: " << what;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void ScriptBoxTest::awaitFile(const std::string& path) {
  await([&] { return exists(path); }, path);
}

int ScriptBoxTest::processesWith(const std::string& word) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    count += read(entry.path() / "cmdline").find(word) != std::string::npos ? 1 : 0;
  }
  return count;
}

void ScriptBoxTest::setPam(const std::string& lines) {
  writeFile("/etc/pam.d/polkit-1", lines + "\naccount required pam_unix.so\n");
}

void ScriptBoxTest::slowPam(const std::string& step) {
  writeFile("/run/box/slow",
            "#!/bin/sh\ntouch /run/box/asked\nuntil [ -e /run/box/go ]; do sleep 0.02; done\n");
  shell("chmod +x /run/box/slow");
  setPam("auth requisite pam_unix.so\n" + step +
         " required pam_exec.so quiet seteuid /run/box/slow");
}

}  // namespace fillstation::test
