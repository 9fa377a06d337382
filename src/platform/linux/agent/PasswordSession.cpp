#include "PasswordSession.h"

#include <unistd.h>

#include <utility>

namespace fillstation::agent {

namespace {

// Where newer systems serve the helper; with a limit of connections, beyond which they are closed.
constexpr const char* kHelperSocket = "/run/polkit/agent-helper.socket";

}  // namespace

PasswordSession::PasswordSession(uid_t user, std::string cookie, const std::string& password,
                                 Completion completion)
    : user_(user),
      cookie_(std::move(cookie)),
      password_(password),
      completion_(std::move(completion)) {}

void PasswordSession::start() {
  g_autoptr(PolkitIdentity) identity = polkit_unix_user_new(static_cast<gint>(user_));
  session_ = polkit_agent_session_new(identity, cookie_.c_str());
  g_signal_connect(session_, "request", G_CALLBACK(onQuestion), this);
  g_signal_connect(session_, "show-error", G_CALLBACK(onText), this);
  g_signal_connect(session_, "show-info", G_CALLBACK(onText), this);
  g_signal_connect(session_, "completed", G_CALLBACK(onCompleted), this);
  polkit_agent_session_initiate(session_);
}

void PasswordSession::cancel() {
  if (session_ != nullptr && !isEnding_) {
    end(Result::cancelled);
  }
}

void PasswordSession::onQuestion(PolkitAgentSession* session, char*, gboolean echo, void* self) {
  auto* check = static_cast<PasswordSession*>(self);
  ++check->questions_;
  if (check->questions_ == 1 && !echo) {
    polkit_agent_session_response(session, check->password_.c_str());
  } else {
    check->end(Result::needsMore);
  }
}

void PasswordSession::onText(PolkitAgentSession*, char*, void* self) {
  ++static_cast<PasswordSession*>(self)->texts_;
}

void PasswordSession::onCompleted(PolkitAgentSession*, gboolean gained, void* self) {
  auto* check = static_cast<PasswordSession*>(self);
  check->again_ = gained == FALSE && check->wasTurnedAway();
  check->end(check->resultOf(gained != FALSE));
}

PasswordSession::Result PasswordSession::resultOf(bool gained) const {
  if (questions_ == 0) {
    return Result::notChecked;
  }
  return gained ? Result::verified : Result::refused;
}

bool PasswordSession::wasTurnedAway() const {
  return !retried_ && questions_ == 0 && texts_ == 0 && ::access(kHelperSocket, F_OK) == 0;
}

void PasswordSession::end(Result result) {
  result_ = result;
  isEnding_ = true;
  g_signal_handlers_disconnect_by_data(session_, this);
  // The session is let go from the main loop: it is in the middle of its own signal.
  g_idle_add(finish, this);
}

int PasswordSession::finish(void* self) {
  auto* check = static_cast<PasswordSession*>(self);
  g_autoptr(PolkitAgentSession) session = std::exchange(check->session_, nullptr);
  polkit_agent_session_cancel(session);
  if (std::exchange(check->again_, false)) {
    check->retried_ = true;
    check->isEnding_ = false;
    check->start();
  } else {
    check->completion_(check->result_);
  }
  return G_SOURCE_REMOVE;
}

}  // namespace fillstation::agent
