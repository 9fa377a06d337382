#pragma once

#include <glib-object.h>
#include <polkitagent/polkitagent.h>
#include <sys/types.h>

#include <functional>
#include <string>

namespace fillstation::agent {

// One check of a user's password by polkit's own helper: the first hidden question gets the
// password, once. One thread, its main loop; lives to the process's end.
class PasswordSession {
 public:
  enum class Result { verified, refused, needsMore, notChecked, cancelled };
  using Completion = std::function<void(Result)>;

  // The completion runs once, from the main loop. The password stays the caller's and is there
  // until then.
  PasswordSession(uid_t user, std::string cookie, const std::string& password,
                  Completion completion);

  void start();
  // Ends the check; does nothing after its end.
  void cancel();

 private:
  static void onQuestion(PolkitAgentSession* session, char* question, gboolean echo, void* self);
  static void onText(PolkitAgentSession* session, char* text, void* self);
  static void onCompleted(PolkitAgentSession* session, gboolean gained, void* self);
  static int finish(void* self);

  Result resultOf(bool gained) const;
  // A helper that answered nothing at all had no room for one more.
  bool wasTurnedAway() const;
  void end(Result result);

  const uid_t user_;
  const std::string cookie_;
  const std::string& password_;
  const Completion completion_;
  PolkitAgentSession* session_ = nullptr;
  int questions_ = 0;
  int texts_ = 0;
  bool retried_ = false;
  bool again_ = false;
  bool isEnding_ = false;
  Result result_ = Result::refused;
};

}  // namespace fillstation::agent
