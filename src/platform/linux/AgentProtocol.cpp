#include "AgentProtocol.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cerrno>
#include <cstddef>

namespace fillstation {

namespace {

bool sendAll(int socket, const void* data, std::size_t size) {
  const char* at = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t count = ::send(socket, at, size, MSG_NOSIGNAL);
    if (count > 0) {
      at += count;
      size -= static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool receiveAll(int socket, void* data, std::size_t size) {
  char* at = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t count = ::recv(socket, at, size, 0);
    if (count > 0) {
      at += count;
      size -= static_cast<std::size_t>(count);
    } else if (count == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool sendText(int socket, std::string_view text) {
  const std::uint64_t size = text.size();
  return sendAll(socket, &size, sizeof size) && sendAll(socket, text.data(), text.size());
}

std::optional<std::string> receiveText(int socket) {
  std::uint64_t size = 0;
  if (!receiveAll(socket, &size, sizeof size)) {
    return std::nullopt;
  }
  if (size > kLongestText) {
    return std::nullopt;
  }
  std::string text(size, '\0');
  if (!receiveAll(socket, text.data(), text.size())) {
    return std::nullopt;
  }
  return text;
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
