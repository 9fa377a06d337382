#include "AgentShell.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <span>
#include <system_error>

#include "ChildProcess.h"
#include "FileHandle.h"

namespace fillstation {

namespace {

// How soon a waiting call notices the end of the program, in milliseconds.
constexpr int kStopInterval = 100;

// Repeats a call that moves the first of the bytes that are left, until all are moved.
template <class Bytes, class Move>
bool moveAll(Bytes left, const Move& move) {
  while (!left.empty()) {
    const ssize_t count = move(left);
    if (count > 0) {
      left = left.subspan(static_cast<std::size_t>(count));
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool sendAll(int socket, std::span<const std::byte> data) {
  return moveAll(data, [socket](std::span<const std::byte> left) {
    return ::send(socket, left.data(), left.size(), MSG_NOSIGNAL);
  });
}

bool receiveAll(int socket, std::span<std::byte> data) {
  return moveAll(data, [socket](std::span<std::byte> left) {
    return ::recv(socket, left.data(), left.size(), 0);
  });
}

AgentReply unavailable(const std::string& what, int error) {
  return AgentReply::of(AgentReply::Kind::unavailable,
                        what + ": " + std::generic_category().message(error));
}

AgentReply replyFrom(int socket) {
  auto reply = receiveReply(socket);
  return reply ? *std::move(reply) : unavailable("The agent program has gone", ECONNRESET);
}

// The agent, and our end of the socket that is its standard input; waits for its end.
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

bool sendText(int socket, std::string_view text) {
  const std::uint64_t size = text.size();
  return sendAll(socket, std::as_bytes(std::span(&size, 1))) &&
         sendAll(socket, std::as_bytes(std::span(text)));
}

std::optional<std::string> receiveText(int socket) {
  std::uint64_t size = 0;
  if (!receiveAll(socket, std::as_writable_bytes(std::span(&size, 1))) || size > kLongestText) {
    return std::nullopt;
  }
  std::string text(size, '\0');
  return receiveAll(socket, std::as_writable_bytes(std::span(text)))
             ? std::optional(std::move(text))
             : std::nullopt;
}

bool sendReply(int socket, const AgentReply& reply) {
  const std::int32_t head[] = {static_cast<std::int32_t>(reply.kind), reply.exitStatus};
  return sendAll(socket, std::as_bytes(std::span(head))) && sendText(socket, reply.out) &&
         sendText(socket, reply.err);
}

std::optional<AgentReply> receiveReply(int socket) {
  std::int32_t head[2];
  if (!receiveAll(socket, std::as_writable_bytes(std::span(head)))) {
    return std::nullopt;
  }
  auto out = receiveText(socket);
  auto err = receiveText(socket);
  if (!out || !err) {
    return std::nullopt;
  }
  return AgentReply{static_cast<AgentReply::Kind>(head[0]), head[1], *std::move(out),
                    *std::move(err)};
}

std::string agentOf(const std::string& program) {
  constexpr const char* kAgent = "fillstation-agent";
  const auto folder = std::filesystem::path(program).parent_path();
  const auto beside = folder / kAgent;
  if (::access(beside.c_str(), X_OK) == 0) {
    return beside;
  }
  return (folder / FILLSTATION_FROM_BIN_TO_LIBEXEC / kAgent).lexically_normal();
}

std::string thisProgram() { return std::filesystem::read_symlink("/proc/self/exe"); }

AgentShell::AgentShell(std::string agentPath, std::function<bool()> stopping)
    : agentPath_(std::move(agentPath)), stopping_(std::move(stopping)) {}

AgentReply AgentShell::run(std::string_view userName, std::string_view password,
                           std::string_view command) noexcept {
  std::unique_lock place(places_);
  if (stopping_()) {
    return AgentReply::of(AgentReply::Kind::cancelled);
  }
  Agent agent;
  if (const int error = agent.start(agentPath_); error != 0) {
    return unavailable("The agent program can't be started", error);
  }
  // If the agent has gone, awaitReply() notices.
  sendText(agent.socket(), userName);
  sendText(agent.socket(), password);
  AgentReply reply = awaitReply(agent.socket());
  if (reply.kind != AgentReply::Kind::verified) {
    return reply;
  }
  place.unlock();
  if (stopping_()) {
    ::shutdown(agent.socket(), SHUT_WR);
  } else {
    sendText(agent.socket(), command);
  }
  return replyFrom(agent.socket());
}

AgentReply AgentShell::awaitReply(int socket) const {
  pollfd waiting{socket, POLLIN, 0};
  while (::poll(&waiting, 1, kStopInterval) <= 0) {
    if (stopping_()) {
      ::shutdown(socket, SHUT_WR);  // asks the agent to cancel
    }
  }
  return replyFrom(socket);
}

}  // namespace fillstation
