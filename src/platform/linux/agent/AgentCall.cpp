#include "AgentCall.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "AgentProcess.h"
#include "WipeText.h"

namespace fillstation::agent {

using Kind = AgentReply::Kind;
using Answer = AuthenticationBus::Answer;

namespace {

// Whether the utility's end of the socket is still open.
bool isOpen(int socket) {
  char next = 0;
  return ::recv(socket, &next, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

}  // namespace

AgentCall::AgentCall(int socket, std::string userName, std::string password)
    : socket_(socket),
      userName_(std::move(userName)),
      password_(std::move(password)),
      bus_({[this](const AuthenticationRequest& request) { onRequest(request); },
            [this] { cancel(); }, [this](const std::string& error) { onRegistered(error); }}),
      shell_({[this] { onShellRuns(); }, [this] { onShellEnds(); }}),
      loop_(g_main_loop_new(nullptr, FALSE)) {}

AgentReply AgentCall::run() {
  begin();
  while (!reply_) {
    g_main_loop_run(loop_);
  }
  return *std::move(reply_);
}

void AgentCall::begin() {
  const auto user = findUser(userName_);
  if (!user) {
    return end(AgentReply::of(Kind::unknownUser));
  }
  if (!isUsablePassword(password_)) {
    return end(AgentReply::of(Kind::wrongCredentials));
  }
  user_ = *user;
  if (!leaveRoot()) {
    return end(AgentReply::of(Kind::unavailable, "The agent program can't leave root's rights."));
  }
  g_unix_fd_add(socket_, static_cast<GIOCondition>(G_IO_IN | G_IO_HUP), onSocket, this);
  bus_.start();
}

void AgentCall::end(AgentReply reply) {
  reply_ = std::move(reply);
  g_main_loop_quit(loop_);
}

void AgentCall::onRegistered(const std::string& error) {
  if (refusal_) {
    return end(AgentReply::of(*refusal_));
  }
  if (!error.empty()) {
    return end(AgentReply::of(Kind::unavailable, "polkit can't be reached: " + error));
  }
  if (const int failed = shell_.start(); failed != 0) {
    end(AgentReply::of(Kind::unavailable,
                       "pkexec can't be started: " + std::generic_category().message(failed)));
  }
}

void AgentCall::onRequest(const AuthenticationRequest& request) {
  if (refusal_) {
    return bus_.answer(Answer::cancelled);
  }
  if (request.caller != shell_.process() || request.subject != ::getpid()) {
    return refuse(Kind::notChecked, Answer::failed);
  }
  if (std::find(request.users.begin(), request.users.end(), user_) == request.users.end()) {
    return refuse(Kind::notAdministrator, Answer::failed);
  }
  check_.emplace(user_, request.cookie, password_,
                 [this](PasswordSession::Result result) { onChecked(result); });
  check_->start();
}

void AgentCall::onChecked(PasswordSession::Result result) {
  wipeText(password_);
  if (refusal_) {
    return bus_.answer(Answer::cancelled);
  }
  switch (result) {
    case PasswordSession::Result::verified:
      verified_ = true;
      sendReply(socket_, AgentReply::of(Kind::verified));
      return bus_.answer(Answer::accepted);
    case PasswordSession::Result::refused:
      return refuse(Kind::wrongCredentials, Answer::failed);
    case PasswordSession::Result::needsMore:
      return refuse(Kind::needsMore, Answer::failed);
    default:
      return refuse(Kind::notChecked, Answer::failed);
  }
}

void AgentCall::refuse(Kind kind, Answer answer) {
  refusal_ = refusal_.value_or(kind);
  shell_.refuse();
  bus_.answer(answer);
}

int AgentCall::onSocket(int, GIOCondition, void* self) {
  auto* call = static_cast<AgentCall*>(self);
  call->takeCommand();
  return G_SOURCE_REMOVE;
}

void AgentCall::takeCommand() {
  // Before the password is verified the utility sends nothing: then this is its end.
  command_ = verified_ ? receiveText(socket_) : std::nullopt;
  if (command_) {
    sendCommand();
  } else {
    cancel();
  }
}

// Of a command that is running nothing is left to cancel, and its own end follows.
void AgentCall::cancel() {
  command_.reset();
  refusal_ = refusal_.value_or(Kind::cancelled);
  shell_.refuse();
  if (check_ && !verified_) {
    check_->cancel();
  } else {
    bus_.answer(Answer::cancelled);
  }
}

void AgentCall::onShellRuns() {
  if (!verified_) {
    refuse(Kind::notChecked, Answer::failed);
  }
  sendCommand();
}

void AgentCall::sendCommand() {
  if (!command_ || !shell_.wasRunning()) {
    return;
  }
  // The system may have taken long to open the session.
  if (!isOpen(socket_)) {
    return cancel();
  }
  isSent_ = true;
  shell_.send(*command_);
}

void AgentCall::onShellEnds() { end(shellReply()); }

AgentReply AgentCall::shellReply() const {
  constexpr int kDismissed = 126;
  if (isSent_) {
    return {Kind::ended, shell_.exitStatus(), shell_.out(), shell_.err()};
  }
  if (refusal_) {
    return AgentReply::of(*refusal_);
  }
  if (shell_.exitStatus() == kDismissed) {
    return AgentReply::of(Kind::cancelled);
  }
  return AgentReply::of(Kind::unavailable, shell_.err());
}

}  // namespace fillstation::agent
