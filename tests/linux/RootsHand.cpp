#include "RootsHand.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QJsonDocument>
#include <array>

#include "FileHandle.h"

namespace fillstation::contract {

namespace {

const std::string kSocket = "/run/box-hand";

// The helper's answer to one request, a line of text each.
std::string answerTo(const std::string& request) {
  const FileHandle link(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  kSocket.copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (::connect(link.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::send(link.get(), request.data(), request.size(), 0) !=
          static_cast<ssize_t>(request.size())) {
    return "{\"error\": \"no hand\"}";
  }
  std::string answer;
  std::array<char, 65536> piece;
  ssize_t size = 0;
  while ((size = ::read(link.get(), piece.data(), piece.size())) > 0) {
    answer.append(piece.data(), static_cast<std::size_t>(size));
  }
  return answer;
}

}  // namespace

bool RootsHand::isThere() { return ::access(kSocket.c_str(), R_OK | W_OK) == 0; }

QJsonValue RootsHand::ask(const std::string& operation, const QJsonArray& arguments,
                          const QJsonObject& named) {
  const QJsonObject request{
      {"id", 0}, {"op", QString::fromStdString(operation)}, {"args", arguments}, {"named", named}};
  const QByteArray line = QJsonDocument(request).toJson(QJsonDocument::Compact) + '\n';
  const std::string answer = answerTo(line.toStdString());
  const QJsonObject read = QJsonDocument::fromJson(QByteArray::fromStdString(answer)).object();
  if (!read.contains("result")) {
    ADD_FAILURE() << operation << ": " << answer;
  }
  return read["result"];
}

}  // namespace fillstation::contract
