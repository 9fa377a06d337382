#include "FileHandle.h"

#include <fcntl.h>
#include <sys/resource.h>

namespace fillstation {

FileHandle openLongPath(const std::string& path, int flags) {
  // Less than the kernel's 4096, to leave space for the "./" that keeps the rest relative.
  constexpr std::size_t kPiece = 4000;
  if (path.find('\0') != std::string::npos) {
    return {};
  }
  FileHandle base(AT_FDCWD);
  std::string rest = path;
  while (rest.size() > kPiece) {
    const std::size_t cut = rest.rfind('/', kPiece);
    if (cut == std::string::npos || cut < 2) {
      return {};  // a single name that no file system takes
    }
    base = FileHandle(
        ::openat(base.get(), rest.substr(0, cut).c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!base) {
      return {};
    }
    rest.replace(0, cut, ".");
  }
  return FileHandle(::openat(base.get(), rest.c_str(), flags | O_CLOEXEC));
}

std::optional<struct stat> statLongPath(const std::string& path) {
  const FileHandle handle = openLongPath(path, O_PATH);
  struct stat status {};
  if (::fstat(handle.get(), &status) != 0) {
    return std::nullopt;
  }
  return status;
}

FileHandle openRegularFile(const std::string& path, struct stat& status) {
  const FileHandle place = openLongPath(path, O_PATH);
  if (!place || ::fstat(place.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return {};
  }
  return openLongPath("/proc/self/fd/" + std::to_string(place.get()), O_RDONLY);
}

void writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(descriptor, text.data(), text.size());
    if (count < 0) {
      return;
    }
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

void allowManyOpenFiles() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace fillstation
