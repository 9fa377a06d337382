#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "AgentShell.h"
#include "ChildProcess.h"
#include "FileHandle.h"

namespace fillstation::test {

constexpr std::chrono::seconds kPatience{60};

// Waits until it holds; false when it doesn't within a minute.
inline bool awaitThat(const std::function<bool()>& condition) {
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

// How a program comes to its end: by a signal, or its window is closed when that is 0. A case is
// one at a step of a run.
struct Way {
  const char* name;
  int signal;

  bool crashes() const { return signal == SIGKILL || signal == SIGABRT; }
};
using LeavingCase = std::tuple<const char*, Way>;

inline void PrintTo(const Way& way, std::ostream* out) { *out << way.name; }
inline std::string nameOfLeaving(const ::testing::TestParamInfo<LeavingCase>& info) {
  return std::string(std::get<1>(info.param).name) + "At_" + std::get<0>(info.param);
}

// A person at the window of person_program, a separate process: sends the actions and receives the
// observations. One thread.
class Person {
 public:
  // Starts the program with these words; a program before it may change its inherited state. Its
  // streams go to the file; each answer is waited for up to this time.
  Person(const std::vector<std::string>& words, const std::string& streams,
         std::chrono::seconds longest = kPatience) {
    int ends[2] = {-1, -1};
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
    socket_ = FileHandle(ends[0]);
    const FileHandle theirs(ends[1]);
    const timeval patience{longest.count(), 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
    const FileHandle output(
        ::open(streams.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
    ChildSetup setup;
    setup.hand(theirs.get(), 0);
    setup.hand(output.get(), 1);
    setup.hand(output.get(), 2);
    setup.start(words, process_);
  }
  // Kills it if it is still there.
  ~Person() {
    if (process_ > 0) {
      ::kill(process_, SIGKILL);
      ::waitpid(process_, nullptr, 0);
    }
  }
  Person(const Person&) = delete;
  Person& operator=(const Person&) = delete;

  // The commands are described in person_program.cpp.
  void say(std::initializer_list<std::string> texts) {
    for (const auto& text : texts) {
      sendText(socket_.get(), text);
    }
  }
  // Sends nothing more.
  void fallSilent() { ::shutdown(socket_.get(), SHUT_WR); }
  // The next answer; none if the program has gone, or sends nothing for that time.
  std::optional<std::string> hear() { return receiveText(socket_.get()); }
  // Sends the text; returns whether this is the answer.
  bool ask(std::initializer_list<std::string> texts, const std::string& answer) {
    say(texts);
    return hear() == answer;
  }

  int socket() const { return socket_.get(); }
  pid_t process() const { return process_; }
  // The process's end in the form of waitpid; waits for it up to a minute, then none.
  std::optional<int> ended() {
    int status = 0;
    if (!awaitThat([&] { return ::waitpid(process_, &status, WNOHANG) != 0; })) {
      return std::nullopt;
    }
    process_ = 0;
    return status;
  }
  // Ends the program this way and expects the status that belongs to it, and no core.
  void leave(const Way& way) {
    if (way.signal == 0) {
      say({"close"});
    } else {
      ::kill(process_, way.signal);
    }
    const auto status = ended();
    ASSERT_TRUE(status) << "it hangs";
    EXPECT_EQ(WIFSIGNALED(*status), way.crashes());
    if (way.crashes()) {
      EXPECT_EQ(WTERMSIG(*status), way.signal);
      EXPECT_FALSE(WCOREDUMP(*status));
    } else {
      EXPECT_EQ(WEXITSTATUS(*status), 0);
    }
  }

 private:
  FileHandle socket_;
  pid_t process_ = 0;
};

}  // namespace fillstation::test
