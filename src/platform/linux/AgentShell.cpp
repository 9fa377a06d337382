#include "AgentShell.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <optional>
#include <system_error>
#include <utility>

#include "ChildProcess.h"
#include "FileHandle.h"

namespace fillstation {

namespace {

// How soon a waiting call notices that the program is ending, in milliseconds.
constexpr int kStopInterval = 100;

AgentReply unavailable(const std::string& what, int error) {
  return AgentReply::of(AgentReply::Kind::unavailable,
                        what + ": " + std::generic_category().message(error));
}

// The agent with our end of the socket that is its standard input; waits for its end.
class Agent {
 public:
  ~Agent() {
    ours_ = FileHandle();
    while (child_ && ::waitpid(*child_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  // 0 or an errno.
  int start(const std::string& path) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      return errno;
    }
    ours_ = FileHandle(ends[0]);
    const FileHandle theirs(ends[1]);
    ChildSetup setup;
    setup.hand(theirs.get(), 0);
    setup.discard(1);
    setup.discard(2);
    setup.startSession();
    pid_t child = 0;
    const int error = setup.start({path}, child);
    if (error == 0) {
      child_ = child;
    }
    return error;
  }

  int socket() const { return ours_.get(); }

 private:
  FileHandle ours_;
  std::optional<pid_t> child_;
};

}  // namespace

// One of the places, until it is given up or goes out of scope.
class AgentShell::Place {
 public:
  explicit Place(AgentPlaces& places) : places_(&places) { places_->take(); }
  ~Place() { giveUp(); }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  void giveUp() {
    if (places_ != nullptr) {
      std::exchange(places_, nullptr)->give();
    }
  }

 private:
  AgentPlaces* places_;
};

AgentShell::AgentShell(std::string agentPath, std::function<bool()> stopping)
    : agentPath_(std::move(agentPath)), stopping_(std::move(stopping)) {}

AgentReply AgentShell::run(std::string_view userName, std::string_view password,
                           std::string_view command) noexcept {
  Place place(places_);
  if (stopping_()) {
    return AgentReply::of(AgentReply::Kind::cancelled);
  }
  Agent agent;
  if (const int error = agent.start(agentPath_); error != 0) {
    return unavailable("The agent program can't be started", error);
  }
  // An agent that has gone shows when its reply is awaited.
  sendText(agent.socket(), userName);
  sendText(agent.socket(), password);
  return converse(agent.socket(), command, place);
}

AgentReply AgentShell::converse(int socket, std::string_view command, Place& place) const {
  AgentReply reply = awaitReply(socket);
  if (reply.kind != AgentReply::Kind::verified) {
    return reply;
  }
  place.giveUp();
  if (stopping_()) {
    ::shutdown(socket, SHUT_WR);
  } else {
    sendText(socket, command);
  }
  auto last = receiveReply(socket);
  return last ? *std::move(last) : unavailable("The agent program has gone", ECONNRESET);
}

AgentReply AgentShell::awaitReply(int socket) const {
  pollfd waiting{socket, POLLIN, 0};
  while (::poll(&waiting, 1, kStopInterval) <= 0) {
    if (stopping_()) {
      ::shutdown(socket, SHUT_WR);  // asks the agent to cancel
    }
  }
  auto reply = receiveReply(socket);
  return reply ? *std::move(reply) : unavailable("The agent program has gone", ECONNRESET);
}

}  // namespace fillstation
