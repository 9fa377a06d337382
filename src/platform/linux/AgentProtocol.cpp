#include "AgentProtocol.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace fillstation {

namespace {

// Repeats a call that moves bytes from the one that it is told on, until all are moved.
template <class Move>
bool moveAll(std::size_t size, const Move& move) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = move(done);
    if (count > 0) {
      done += static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool sendAll(int socket, const void* data, std::size_t size) {
  return moveAll(size, [=](std::size_t done) {
    return ::send(socket, static_cast<const char*>(data) + done, size - done, MSG_NOSIGNAL);
  });
}

bool receiveAll(int socket, void* data, std::size_t size) {
  return moveAll(size, [=](std::size_t done) {
    return ::recv(socket, static_cast<char*>(data) + done, size - done, 0);
  });
}

}  // namespace

bool sendText(int socket, std::string_view text) {
  const std::uint64_t size = text.size();
  return sendAll(socket, &size, sizeof size) && sendAll(socket, text.data(), text.size());
}

std::optional<std::string> receiveText(int socket) {
  std::uint64_t size = 0;
  if (!receiveAll(socket, &size, sizeof size) || size > kLongestText) {
    return std::nullopt;
  }
  std::string text(size, '\0');
  return receiveAll(socket, text.data(), size) ? std::optional(std::move(text)) : std::nullopt;
}

bool sendReply(int socket, const AgentReply& reply) {
  const std::int32_t head[] = {static_cast<std::int32_t>(reply.kind), reply.exitStatus};
  return sendAll(socket, head, sizeof head) && sendText(socket, reply.out) &&
         sendText(socket, reply.err);
}

std::optional<AgentReply> receiveReply(int socket) {
  std::int32_t head[2];
  if (!receiveAll(socket, head, sizeof head)) {
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

}  // namespace fillstation
