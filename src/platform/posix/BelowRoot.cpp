#include "BelowRoot.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "LongPath.h"

namespace fillstation {

std::optional<Components> componentsBelow(std::string_view mountPath,
                                          std::string_view destination) {
  if (!destination.starts_with(mountPath) || destination.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  std::string_view rest = destination.substr(mountPath.size());
  if (!rest.empty() && !rest.starts_with('/')) {
    return std::nullopt;
  }
  Components components;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('/'), rest.size());
    const std::string_view component = rest.substr(0, end);
    const std::size_t length = component.find_last_not_of('.') + 1;
    if (length == 0 && end > 0) {
      return std::nullopt;
    }
    if (length > 0) {
      components.emplace_back(component.substr(0, length));
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return components;
}

FileHandle openFolderBelow(int root, int parent, const std::string& name, int flags) {
  FileHandle directory(
      ::openat(parent, name.c_str(), flags | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat top {};
  struct stat here {};
  if (!directory || ::fstat(root, &top) != 0 || ::fstat(directory.get(), &here) != 0 ||
      top.st_dev != here.st_dev) {
    return {};
  }
  return directory;
}

FileHandle openMediumFileBelow(int root, const Components& path, KernelCalls& calls) {
  if (path.empty()) {
    return {};
  }
  FileHandle parent = openFolderBelow(root, root, ".", O_PATH);
  for (auto name = path.begin(); parent && name + 1 != path.end(); ++name) {
    parent = openFolderBelow(root, parent.get(), *name, O_PATH);
  }
  const auto opened = [&](int flags) {
    return FileHandle(
        ::openat(parent.get(), path.back().c_str(), flags | O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  };
  // Looking at a player must not write the time of it onto the medium; only the owner may say so.
  FileHandle file = opened(O_DIRECT | O_NOATIME);
  if (!file && errno == EPERM) {
    file = opened(O_DIRECT);
  }
  if (!file && errno == EINVAL) {
    file = opened(0);
    calls.advise(file.get(), POSIX_FADV_DONTNEED);
    calls.advise(file.get(), POSIX_FADV_RANDOM);
  }
  return file;
}

FileHandle openRegularFile(const std::string& path, struct stat& status) {
  const FileHandle place = openLongPath(path, O_PATH);
  if (!place || ::fstat(place.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return {};
  }
  return openLongPath("/proc/self/fd/" + std::to_string(place.get()), O_RDONLY);
}

}  // namespace fillstation
