#pragma once

#include <glib-object.h>
#include <polkitagent/polkitagent.h>
#include <sys/types.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>

namespace fillstation::agent {

// One check of a user's password by polkit's own helper, which gets the password once, as the
// answer to its first hidden question. One thread, its main loop; lives until the process ends.
class PasswordSession {
 public:
  enum class Result { verified, refused, needsMore, notChecked, cancelled };
  using Completion = std::function<void(Result)>;

  // The completion runs once, from the main loop. The password stays the caller's and must exist
  // until then.
  PasswordSession(uid_t user, std::string cookie, const std::string& password,
                  Completion completion)
      : user_(user),
        cookie_(std::move(cookie)),
        password_(password),
        completion_(std::move(completion)) {}

  void start() {
    g_autoptr(PolkitIdentity) identity = polkit_unix_user_new(static_cast<gint>(user_));
    session_ = polkit_agent_session_new(identity, cookie_.c_str());
    g_signal_connect(session_, "request", G_CALLBACK(onQuestion), this);
    g_signal_connect(session_, "show-error", G_CALLBACK(onText), this);
    g_signal_connect(session_, "show-info", G_CALLBACK(onText), this);
    g_signal_connect(session_, "completed", G_CALLBACK(onCompleted), this);
    polkit_agent_session_initiate(session_);
  }

  // Ends the check; does nothing after its end.
  void cancel() {
    if (session_ != nullptr && !isEnding_) {
      end(Result::cancelled);
    }
  }

 private:
  // Newer systems serve the helper here, with a limit of connections; further ones are closed.
  static constexpr const char* kHelperSocket = "/run/polkit/agent-helper.socket";

  static void onQuestion(PolkitAgentSession* session, char* /*question*/, gboolean echo,
                         void* self) {
    auto* check = static_cast<PasswordSession*>(self);
    ++check->questions_;
    if (check->questions_ == 1 && !echo) {
      polkit_agent_session_response(session, check->password_.c_str());
    } else {
      check->end(Result::needsMore);
    }
  }

  static void onText(PolkitAgentSession* /*session*/, char* /*text*/, void* self) {
    static_cast<PasswordSession*>(self)->hasSpoken_ = true;
  }

  static void onCompleted(PolkitAgentSession* /*session*/, gboolean gained, void* self) {
    auto* check = static_cast<PasswordSession*>(self);
    check->again_ = gained == FALSE && check->wasTurnedAway();
    check->end(check->resultOf(gained != FALSE));
  }

  Result resultOf(bool gained) const {
    if (questions_ == 0) {
      return Result::notChecked;
    }
    return gained ? Result::verified : Result::refused;
  }

  // A helper that sent nothing at all had no free connection.
  bool wasTurnedAway() const {
    return !retried_ && questions_ == 0 && !hasSpoken_ && ::access(kHelperSocket, F_OK) == 0;
  }

  void end(Result result) {
    result_ = result;
    isEnding_ = true;
    g_signal_handlers_disconnect_by_data(session_, this);
    // Releases the session in the main loop: now it is inside its own signal.
    g_idle_add(finish, this);
  }

  static int finish(void* self) {
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

  const uid_t user_;
  const std::string cookie_;
  const std::string& password_;
  const Completion completion_;
  PolkitAgentSession* session_ = nullptr;
  int questions_ = 0;
  bool hasSpoken_ = false;
  bool retried_ = false;
  bool again_ = false;
  bool isEnding_ = false;
  Result result_ = Result::refused;
};

}  // namespace fillstation::agent
