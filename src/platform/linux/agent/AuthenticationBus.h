#pragma once

#include <gio/gio.h>
#include <polkit/polkit.h>
#include <sys/types.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fillstation::agent {

// A request of the authority to its agent.
struct AuthenticationRequest {
  std::string cookie;
  pid_t caller = 0;          // the process that asks for the authorisation
  pid_t subject = 0;         // the process to be authorised
  std::vector<uid_t> users;  // who may authenticate
};

// This process as polkit's authentication agent for itself: the authority prefers the agent of a
// process to that of its session, so that the desktop shows no dialog. It has its own connection to
// the system bus; the bus lets only the authority call it. One thread, its main loop; lives until
// the process ends.
class AuthenticationBus {
 public:
  enum class Answer { accepted, failed, cancelled };

  struct Handlers {
    // Answer it once with answer(), at any later time.
    std::function<void(const AuthenticationRequest&)> begin;
    std::function<void()> cancel;
    // Registered, or the reason why not.
    std::function<void(const std::string& error)> registered;
  };

  explicit AuthenticationBus(Handlers handlers) : handlers_(std::move(handlers)) {}

  // Connects and registers; the outcome goes to the handler, possibly before it returns.
  void start() {
    if (connect()) {
      registerAgent();
    }
  }

  // Answers the request in progress; does nothing when there is none.
  void answer(Answer answer) {
    GDBusMethodInvocation* invocation = std::exchange(asked_, nullptr);
    if (invocation == nullptr) {
      return;
    }
    if (answer == Answer::accepted) {
      g_dbus_method_invocation_return_value(invocation, nullptr);
    } else if (answer == Answer::cancelled) {
      g_dbus_method_invocation_return_dbus_error(
          invocation, "org.freedesktop.PolicyKit1.Error.Cancelled", "Cancelled");
    } else {
      g_dbus_method_invocation_return_dbus_error(invocation, kFailed, "Refused");
    }
  }

 private:
  static constexpr const char* kFailed = "org.freedesktop.PolicyKit1.Error.Failed";
  static constexpr const char* kPath = "/org/freedesktop/PolicyKit1/AuthenticationAgent";
  static constexpr const char* kInterface =
      "<node><interface name='org.freedesktop.PolicyKit1.AuthenticationAgent'>"
      "<method name='BeginAuthentication'><arg type='s'/><arg type='s'/><arg type='s'/>"
      "<arg type='a{ss}'/><arg type='s'/><arg type='a(sa{sv})'/></method>"
      "<method name='CancelAuthentication'><arg type='s'/></method>"
      "</interface></node>";

  static pid_t processOf(GVariant* details, const char* key) {
    const char* text = nullptr;
    return g_variant_lookup(details, key, "&s", &text) ? static_cast<pid_t>(std::atoi(text)) : 0;
  }

  static std::vector<uid_t> usersOf(GVariant* identities) {
    std::vector<uid_t> users;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, identities);
    const char* kind = nullptr;
    GVariant* details = nullptr;
    while (g_variant_iter_loop(&iterator, "(&s@a{sv})", &kind, &details)) {
      guint32 user = 0;
      if (kind == std::string_view("unix-user") && g_variant_lookup(details, "uid", "u", &user)) {
        users.push_back(user);
      }
    }
    return users;
  }

  // Returns false after calling the handler with the reason.
  bool connect() {
    static const GDBusInterfaceVTable table{onCall, nullptr, nullptr, {}};
    g_autoptr(GError) error = nullptr;
    g_autofree char* address = g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (address != nullptr) {
      // Not the shared connection: the authority forgets only one agent when a connection is lost.
      connection_ = g_dbus_connection_new_for_address_sync(
          address,
          static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
          nullptr, nullptr, &error);
    }
    if (connection_ == nullptr) {
      fail(error);
      return false;
    }
    g_autoptr(GDBusNodeInfo) node = g_dbus_node_info_new_for_xml(kInterface, nullptr);
    g_dbus_connection_register_object(connection_, kPath, node->interfaces[0], &table, this,
                                      nullptr, nullptr);
    return true;
  }

  void registerAgent() {
    const auto user = static_cast<gint>(::getuid());
    g_autoptr(PolkitSubject) self = polkit_unix_process_new_for_owner(::getpid(), 0, user);
    const guint64 start = polkit_unix_process_get_start_time(POLKIT_UNIX_PROCESS(self));
    GVariantBuilder subject;
    g_variant_builder_init(&subject, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&subject, "{sv}", "pid",
                          g_variant_new_uint32(static_cast<guint32>(::getpid())));
    g_variant_builder_add(&subject, "{sv}", "start-time", g_variant_new_uint64(start));
    g_variant_builder_add(&subject, "{sv}", "uid", g_variant_new_int32(user));
    g_dbus_connection_call(connection_, "org.freedesktop.PolicyKit1",
                           "/org/freedesktop/PolicyKit1/Authority",
                           "org.freedesktop.PolicyKit1.Authority", "RegisterAuthenticationAgent",
                           g_variant_new("((sa{sv})ss)", "unix-process", &subject,
                                         std::setlocale(LC_MESSAGES, nullptr), kPath),
                           nullptr, G_DBUS_CALL_FLAGS_NONE, G_MAXINT, nullptr, onRegistered, this);
  }

  static void onRegistered(GObject* connection, GAsyncResult* result, void* self) {
    auto* bus = static_cast<AuthenticationBus*>(self);
    g_autoptr(GError) error = nullptr;
    g_autoptr(GVariant) reply = g_dbus_connection_call_finish(
        reinterpret_cast<GDBusConnection*>(connection), result, &error);
    if (reply == nullptr) {
      bus->fail(error);
      return;
    }
    bus->handlers_.registered({});
  }

  void fail(GError* error) {
    g_dbus_error_strip_remote_error(error);
    handlers_.registered(error->message);
  }

  static void onCall(GDBusConnection* /*connection*/, const char* /*sender*/, const char* /*path*/,
                     const char* /*interface*/, const char* method, GVariant* parameters,
                     GDBusMethodInvocation* invocation, void* self) {
    auto* bus = static_cast<AuthenticationBus*>(self);
    if (method == std::string_view("BeginAuthentication")) {
      bus->begin(parameters, invocation);
    } else {
      g_dbus_method_invocation_return_value(invocation, nullptr);
      bus->handlers_.cancel();
    }
  }

  void begin(GVariant* parameters, GDBusMethodInvocation* invocation) {
    if (wasAsked_) {
      g_dbus_method_invocation_return_dbus_error(invocation, kFailed,
                                                 "There is one authentication per process.");
      return;
    }
    wasAsked_ = true;
    asked_ = invocation;
    const char* cookie = nullptr;
    g_autoptr(GVariant) details = nullptr;
    g_autoptr(GVariant) identities = nullptr;
    g_variant_get(parameters, "(&s&s&s@a{ss}&s@a(sa{sv}))", nullptr, nullptr, nullptr, &details,
                  &cookie, &identities);
    handlers_.begin({cookie, processOf(details, "polkit.caller-pid"),
                     processOf(details, "polkit.subject-pid"), usersOf(identities)});
  }

  const Handlers handlers_;
  GDBusConnection* connection_ = nullptr;
  GDBusMethodInvocation* asked_ = nullptr;
  bool wasAsked_ = false;
};

}  // namespace fillstation::agent
