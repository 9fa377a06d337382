#pragma once

#include <gio/gio.h>
#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace fillstation::agent {

// What the authority asks its agent for.
struct AuthenticationRequest {
  std::string cookie;
  pid_t caller = 0;          // the process that asked for the authorisation
  pid_t subject = 0;         // the process that is to be authorised
  std::vector<uid_t> users;  // who may authenticate
};

// This process as polkit's authentication agent of itself: the authority looks for the agent of a
// process before that of its session, so that no dialog of the desktop appears. On the system bus
// over a connection of its own; the bus lets nobody but the authority call it. One thread, its main
// loop; lives to the process's end.
class AuthenticationBus {
 public:
  enum class Answer { accepted, failed, cancelled };

  struct Handlers {
    // To be answered once by answer(), at any later time.
    std::function<void(const AuthenticationRequest&)> begin;
    std::function<void()> cancel;
    // Registered, or the reason why not.
    std::function<void(const std::string& error)> registered;
  };

  explicit AuthenticationBus(Handlers handlers) : handlers_(std::move(handlers)) {}

  // Connects and registers; the outcome goes to the handler, possibly before it returns.
  void start();
  // Answers the request in progress; does nothing when there is none.
  void answer(Answer answer);

 private:
  static void onCall(GDBusConnection* connection, const char* sender, const char* path,
                     const char* interface, const char* method, GVariant* parameters,
                     GDBusMethodInvocation* invocation, void* self);
  static void onRegistered(GObject* connection, GAsyncResult* result, void* self);

  // False with the reason told to the handler.
  bool connect();
  void registerAgent();
  void begin(GVariant* parameters, GDBusMethodInvocation* invocation);
  void fail(GError* error);

  const Handlers handlers_;
  GDBusConnection* connection_ = nullptr;
  GDBusMethodInvocation* asked_ = nullptr;
  bool wasAsked_ = false;
};

}  // namespace fillstation::agent
