#pragma once

#include <glib.h>

#include <memory>
#include <optional>
#include <string>

#include "AgentProtocol.h"
#include "AuthenticationBus.h"
#include "PasswordSession.h"
#include "RootShell.h"

namespace fillstation::agent {

// The one call of this process, from the credentials to the last reply: it registers as its own
// authentication agent, has pkexec ask it, and hands the command to the root shell once that runs
// and the password was verified by us. One thread, its main loop.
class AgentCall {
 public:
  // The socket to the utility: the credentials were read from it, the command comes over it, and
  // its end cancels what has not begun.
  AgentCall(int socket, std::string userName, std::string password);

  // Runs the main loop until the last reply is there.
  AgentReply run();

 private:
  static int onSocket(int descriptor, GIOCondition condition, void* self);

  void begin();
  void onRegistered(const std::string& error);
  void onRequest(const AuthenticationRequest& request);
  void onChecked(PasswordSession::Result result);
  void onShellRuns();
  void onShellEnds();
  void cancel();
  void takeCommand();
  // Once the command and the shell are both there: hands it over if anybody still waits for it.
  void sendCommand();
  // Keeps the first reason for which nothing runs, and answers the authority.
  void refuse(AgentReply::Kind kind, AuthenticationBus::Answer answer);
  void end(AgentReply reply);
  AgentReply shellReply() const;

  const int socket_;
  const std::string userName_;
  std::string password_;
  uid_t user_ = 0;

  AuthenticationBus bus_;
  RootShell shell_;
  std::optional<PasswordSession> check_;
  std::optional<AgentReply::Kind> refusal_;
  std::optional<std::string> command_;
  bool verified_ = false;
  bool isSent_ = false;
  GMainLoop* loop_;
  std::optional<AgentReply> reply_;
};

}  // namespace fillstation::agent
