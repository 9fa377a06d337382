#include "AgentProcess.h"

#include <grp.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace fillstation::agent {

namespace {

constexpr std::size_t kLongestPassword = 510;

bool isLanguage(std::string_view variable) {
  const std::string_view value = variable.substr(variable.find('=') + 1);
  // pkexec takes such values for an attempt to break out, and ends.
  const bool isSafe = value.find_first_of("/%") == std::string_view::npos &&
                      value.find("..") == std::string_view::npos;
  return isSafe && (variable.starts_with("LANG=") || variable.starts_with("LC_"));
}

void cleanEnvironment() {
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

}  // namespace

void harden() {
  ::prctl(PR_SET_DUMPABLE, 0);
  ::umask(022);
  ::signal(SIGPIPE, SIG_IGN);
  cleanEnvironment();
}

bool leaveRoot() {
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

std::optional<uid_t> findUser(const std::string& name) {
  // A null byte would cut the name short.
  const bool isName = name.find('\0') == std::string::npos;
  const passwd* found = isName ? ::getpwnam(name.c_str()) : nullptr;
  return found != nullptr ? std::optional(found->pw_uid) : std::nullopt;
}

bool isUsablePassword(const std::string& password) {
  return password.size() <= kLongestPassword &&
         password.find_first_of(std::string_view("\n\0", 2)) == std::string::npos;
}

}  // namespace fillstation::agent
