#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "AgentProcess.h"
#include "AgentShell.h"
#include "AuthenticationBus.h"
#include "Format.h"
#include "PasswordSession.h"
#include "RootShell.h"

namespace fillstation::agent {
namespace {

using Kind = AgentReply::Kind;
using Answer = AuthenticationBus::Answer;

// Whether the utility's end of the socket is still open.
bool isOpen(int socket) {
  char next = 0;
  return ::recv(socket, &next, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

// The one call of this process, from the credentials to the last reply: it registers as its own
// authentication agent, starts pkexec, and hands the command to the root shell when that runs and
// our check has verified the password. One thread, its main loop.
class AgentCall {
 public:
  // The socket to the utility: the credentials were read from it, the command arrives there, and
  // its end cancels everything that has not begun.
  AgentCall(int socket, std::string userName, std::string password)
      : socket_(socket),
        userName_(std::move(userName)),
        password_(std::move(password)),
        bus_({[this](const AuthenticationRequest& request) { onRequest(request); },
              [this] { cancel(); }, [this](const std::string& error) { onRegistered(error); }}),
        shell_({[this] { onShellRuns(); }, [this] { end(shellReply()); }}),
        loop_(g_main_loop_new(nullptr, FALSE)) {}

  // Runs the main loop until the last reply is there.
  AgentReply run() {
    begin();
    while (!reply_) {
      g_main_loop_run(loop_);
    }
    return *std::move(reply_);
  }

 private:
  void begin() {
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

  void end(AgentReply reply) {
    reply_ = std::move(reply);
    g_main_loop_quit(loop_);
  }

  void onRegistered(const std::string& error) {
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

  void onRequest(const AuthenticationRequest& request) {
    if (refusal_) {
      return bus_.answer(Answer::cancelled);
    }
    if (request.caller != shell_.process() || request.subject != ::getpid()) {
      return refuse(Kind::notChecked);
    }
    if (std::find(request.users.begin(), request.users.end(), user_) == request.users.end()) {
      return refuse(Kind::notAdministrator);
    }
    check_.emplace(user_, request.cookie, password_,
                   [this](PasswordSession::Result result) { onChecked(result); });
    check_->start();
  }

  void onChecked(PasswordSession::Result result) {
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
        return refuse(Kind::wrongCredentials);
      case PasswordSession::Result::needsMore:
        return refuse(Kind::needsMore);
      default:
        return refuse(Kind::notChecked);
    }
  }

  // Keeps the first reason for a refusal, and refuses the authority's request.
  void refuse(Kind kind) {
    refusal_ = refusal_.value_or(kind);
    shell_.refuse();
    bus_.answer(Answer::failed);
  }

  static int onSocket(int, GIOCondition, void* self) {
    static_cast<AgentCall*>(self)->takeCommand();
    return G_SOURCE_REMOVE;
  }

  void takeCommand() {
    // Before the password is verified the utility sends nothing: so this is its end.
    command_ = verified_ ? receiveText(socket_) : std::nullopt;
    if (command_) {
      sendCommand();
    } else {
      cancel();
    }
  }

  // A running command is not cancelled; it ends by itself.
  void cancel() {
    command_.reset();
    refusal_ = refusal_.value_or(Kind::cancelled);
    shell_.refuse();
    if (check_ && !verified_) {
      check_->cancel();
    } else {
      bus_.answer(Answer::cancelled);
    }
  }

  void onShellRuns() {
    if (!verified_) {
      refuse(Kind::notChecked);
    }
    sendCommand();
  }

  // Passes the command on when it and the shell are both there, if the caller is still waiting.
  void sendCommand() {
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

  AgentReply shellReply() const {
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

  const int socket_;
  const std::string userName_;
  std::string password_;
  uid_t user_ = 0;

  AuthenticationBus bus_;
  RootShell shell_;
  std::optional<PasswordSession> check_;
  std::optional<Kind> refusal_;
  std::optional<std::string> command_;
  bool verified_ = false;
  bool isSent_ = false;
  GMainLoop* loop_;
  std::optional<AgentReply> reply_;
};

}  // namespace
}  // namespace fillstation::agent

// The program that authenticates one call: its standard input is the socket to the utility.
int main() {
  using namespace fillstation;
  agent::harden();
  auto userName = receiveText(STDIN_FILENO);
  auto password = receiveText(STDIN_FILENO);
  if (!userName || !password) {
    return 2;
  }
  agent::AgentCall call(STDIN_FILENO, *std::move(userName), *std::move(password));
  sendReply(STDIN_FILENO, call.run());
  // Anything still in progress in the libraries ends with the process.
  ::_exit(0);
}
