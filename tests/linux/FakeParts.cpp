#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

// Replaces the system's access(): udev and pkexec are there, on every machine, except the one whose
// path is in MISSING_PART.
extern "C" int access(const char* path, int mode) noexcept {
  const std::string_view asked = path;
  if (asked != "/run/udev/control" && asked != "/usr/bin/pkexec") {
    return ::faccessat(AT_FDCWD, path, mode, 0);
  }
  const char* const missing = std::getenv("MISSING_PART");
  if (missing == nullptr || asked != missing) {
    return 0;
  }
  errno = ENOENT;
  return -1;
}
