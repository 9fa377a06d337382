#include "Person.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>
#include <utility>

#include "AgentShell.h"
#include "ChildProcess.h"

namespace fillstation::test {

namespace {

constexpr std::chrono::seconds kPatience{60};

}  // namespace

Person::Person(const std::vector<std::string>& words, const std::string& streams) {
  int ends[2] = {-1, -1};
  ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
  socket_ = FileHandle(ends[0]);
  const FileHandle theirs(ends[1]);
  const timeval patience{kPatience.count(), 0};
  ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  const FileHandle output(
      ::open(streams.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
  ChildSetup setup;
  setup.hand(theirs.get(), 0);
  setup.hand(output.get(), 1);
  setup.hand(output.get(), 2);
  setup.start(words, process_);
}

Person::~Person() {
  if (process_ > 0) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
}

void Person::say(std::initializer_list<std::string> texts) {
  for (const auto& text : texts) {
    sendText(socket_.get(), text);
  }
}

std::optional<std::string> Person::hear() { return receiveText(socket_.get()); }

bool Person::ask(std::initializer_list<std::string> texts, const std::string& answer) {
  say(texts);
  return hear() == answer;
}

std::optional<int> Person::end(int signal) {
  if (signal == 0) {
    say({"close"});
  } else {
    ::kill(process_, signal);
  }
  return ended();
}

std::optional<int> Person::ended() {
  const auto limit = std::chrono::steady_clock::now() + kPatience;
  int status = 0;
  while (::waitpid(process_, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > limit) {
      return std::nullopt;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  process_ = 0;
  return status;
}

}  // namespace fillstation::test
