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
  // pkexec ends if it finds such values, because they could be an attack.
  const bool isSafe = variable.find_first_of("/%") == std::string_view::npos &&
                      variable.find("..") == std::string_view::npos;
  return isSafe && (variable.starts_with("LANG=") || variable.starts_with("LC_"));
}

// Removes everything from the environment except the search path and the language.
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

// Protects this process's memory from others. Removes everything except the search path and the
// language from its environment, and so from its children's. Call it first.
inline void harden() {
  ::prctl(PR_SET_DUMPABLE, 0);
  ::umask(022);
  ::signal(SIGPIPE, SIG_IGN);
  cleanEnvironment();
}

// Changes from root to nobody, so that the system asks for a password, and keeps the process closed
// to others; does nothing for other users. False if that fails.
inline bool leaveRoot() {
  if (::geteuid() != 0) {
    return true;
  }
  const passwd* nobody = ::getpwnam("nobody");
  // A change of the user resets the dumpable flag to the system's setting fs.suid_dumpable.
  return nobody != nullptr && ::setgroups(0, nullptr) == 0 &&
         ::setresgid(nobody->pw_gid, nobody->pw_gid, nobody->pw_gid) == 0 &&
         ::setresuid(nobody->pw_uid, nobody->pw_uid, nobody->pw_uid) == 0 &&
         ::prctl(PR_SET_DUMPABLE, 0) == 0;
}

// The user id of a user name, none if there is no such user. Call it before any thread is made.
inline std::optional<uid_t> findUser(const std::string& name) {
  // A null byte would cut the name short.
  const bool isName = name.find('\0') == std::string::npos;
  const passwd* found = isName ? ::getpwnam(name.c_str()) : nullptr;
  return found != nullptr ? std::optional(found->pw_uid) : std::nullopt;
}

// False for a password that doesn't fit into one line, or is longer than the system's checker
// accepts.
inline bool isUsablePassword(const std::string& password) {
  constexpr std::size_t kLongest = 510;
  return password.size() <= kLongest &&
         password.find_first_of(std::string_view("\n\0", 2)) == std::string::npos;
}

}  // namespace fillstation::agent
