#include "BelowRoot.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

#include <algorithm>
#include <cerrno>

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

FileHandle openMediumFileBelow(int root, const Components& path) {
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
  // Reading a player must not write access times to the medium. Only the owner may ask for that.
  FileHandle file = opened(O_DIRECT | O_NOATIME);
  if (!file && errno == EPERM) {
    file = opened(O_DIRECT);
  }
  if (!file && errno == EINVAL) {
    file = opened(0);
    for (const int advice : {POSIX_FADV_DONTNEED, POSIX_FADV_RANDOM}) {
      ::posix_fadvise(file.get(), 0, 0, advice);
    }
  }
  return file;
}

bool DirectoryOrder::keptOn(int root) {
  struct statfs status {};
  return ::fstatfs(root, &status) == 0 && status.f_type == MSDOS_SUPER_MAGIC;
}

std::optional<struct stat> DirectoryOrder::next(const Components& path, bool isDirectory) {
  if (path.empty() || !enter(path)) {
    return std::nullopt;
  }
  DIR* const directory = levels_.back().directory.get();
  struct stat status {};
  if (::fstatat(::dirfd(directory), path.back().c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
      (isDirectory ? !S_ISDIR(status.st_mode) : !S_ISREG(status.st_mode)) ||
      (keepsOrder_ && !comesNext(directory, path.back(), status.st_ino) &&
       !(isDirectory && comesAgain_))) {
    return std::nullopt;
  }
  return status;
}

bool DirectoryOrder::comesNext(DIR* directory, const std::string& name, ino_t inode) {
  const long before = ::telldir(directory);
  while (const dirent* const entry = ::readdir(directory)) {
    if (name == entry->d_name) {
      return true;
    }
  }
  // A mount may spell names differently. The inode is certain, once the name was looked up.
  ::seekdir(directory, before);
  while (const dirent* const entry = ::readdir(directory)) {
    if (entry->d_ino == inode) {
      return true;
    }
  }
  ::seekdir(directory, before);
  return false;
}

bool DirectoryOrder::enter(const Components& path) {
  if (levels_.empty() && !push("")) {
    return false;
  }
  std::size_t depth = 1;
  while (depth < levels_.size() && depth < path.size() && levels_[depth].name == path[depth - 1]) {
    ++depth;
  }
  levels_.resize(depth);
  while (levels_.size() < path.size()) {
    if (!push(path[levels_.size() - 1])) {
      return false;
    }
  }
  return true;
}

bool DirectoryOrder::push(const std::string& name) {
  const int parent = levels_.empty() ? root_ : ::dirfd(levels_.back().directory.get());
  FileHandle directory = openFolderBelow(root_, parent, name.empty() ? "." : name, O_RDONLY);
  DIR* const opened = directory ? ::fdopendir(directory.get()) : nullptr;
  if (opened == nullptr) {
    return false;
  }
  directory.release();  // the directory's from now on
  levels_.push_back({name, std::unique_ptr<DIR, Level::Closing>(opened)});
  return true;
}

}  // namespace fillstation
