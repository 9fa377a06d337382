#pragma once

#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fillstation::agent {

inline bool isLanguage(std::string_view variable) {
  const std::string_view value = variable.substr(variable.find('=') + 1);
  // pkexec takes such values for an attempt to break out, and ends.
  const bool isSafe = value.find_first_of("/%") == std::string_view::npos &&
                      value.find("..") == std::string_view::npos;
  return isSafe && (variable.starts_with("LANG=") || variable.starts_with("LC_"));
}

// Leaves the search path and the language alone in the environment.
inline void cleanEnvironment() {
  std::vector<std::string> kept;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    if (isLanguage(*variable)) {
      kept.emplace_back(*variable);
    }
  }
  ::clearenv();
  ::setenv("PATH", "/usr/sbin:/usr/bin:/sbin:/bin", 1);
  for (const auto& variable : kept) {
    const std::size_t end = variable.find('=');
    ::setenv(variable.substr(0, end).c_str(), variable.substr(end + 1).c_str(), 1);
  }
}

// Keeps others out of this process's memory, and everything but the search path and the language
// out of its environment and its children's. To be called before anything else.
inline void harden() {
  ::prctl(PR_SET_DUMPABLE, 0);
  ::umask(022);
  ::signal(SIGPIPE, SIG_IGN);
  cleanEnvironment();
}

// Leaves root's rights for those of nobody, for whom the system asks for a password like for
// anybody, and stays closed to others; does nothing for other users. False when that fails.
inline bool leaveRoot() {
  if (::geteuid() != 0) {
    return true;
  }
  const passwd* nobody = ::getpwnam("nobody");
  // A change of the user makes the process as dumpable as fs.suid_dumpable says.
  return nobody != nullptr && ::setgroups(0, nullptr) == 0 &&
         ::setresgid(nobody->pw_gid, nobody->pw_gid, nobody->pw_gid) == 0 &&
         ::setresuid(nobody->pw_uid, nobody->pw_uid, nobody->pw_uid) == 0 &&
         ::prctl(PR_SET_DUMPABLE, 0) == 0;
}

// The user id of a user name, none when there is no such user. Before any thread is made.
inline std::optional<uid_t> findUser(const std::string& name) {
  // A null byte would cut the name short.
  const bool isName = name.find('\0') == std::string::npos;
  const passwd* found = isName ? ::getpwnam(name.c_str()) : nullptr;
  return found != nullptr ? std::optional(found->pw_uid) : std::nullopt;
}

// False for what can't be handed on as one line, or is longer than the system's checker takes.
inline bool isUsablePassword(const std::string& password) {
  constexpr std::size_t kLongest = 510;
  return password.size() <= kLongest &&
         password.find_first_of(std::string_view("\n\0", 2)) == std::string::npos;
}

}  // namespace fillstation::agent
