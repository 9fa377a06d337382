#include "DirectoryOrder.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <string_view>
#include <utility>

namespace fillstation {

namespace {

std::string_view withoutEndingDots(std::string_view name) {
  name.remove_suffix(name.size() - 1 - name.find_last_not_of('.'));
  return name;
}

}  // namespace

bool DirectoryOrder::keptOn(int root) {
  struct statfs status {};
  return ::fstatfs(root, &status) == 0 && status.f_type == MSDOS_SUPER_MAGIC;
}

std::optional<struct stat> DirectoryOrder::next(const Components& path, bool isDirectory) {
  if (path.empty() || !enter(path)) {
    return std::nullopt;
  }
  Level& level = levels_.back();
  const off_t before = level.position;
  auto name = keepsOrder_ ? find(level, path.back()) : path.back();
  if (!name && isDirectory) {
    level.position = ::lseek(level.directory.get(), before, SEEK_SET);
    level.at = level.size = 0;
    name = path.back();
  }
  struct stat status {};
  if (!name || ::fstatat(level.directory.get(), name->c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
      (isDirectory ? !S_ISDIR(status.st_mode) : !S_ISREG(status.st_mode))) {
    return std::nullopt;
  }
  return status;
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
  Level level;
  level.name = name;
  const int parent = levels_.empty() ? root_ : levels_.back().directory.get();
  level.directory = openFolderBelow(root_, parent, name.empty() ? "." : name, O_RDONLY);
  if (!level.directory) {
    return false;
  }
  levels_.push_back(std::move(level));
  return true;
}

std::optional<std::string> DirectoryOrder::nextName(Level& level) {
  if (level.at == level.size) {
    const ssize_t size =
        ::getdents64(level.directory.get(), level.entries.data(), level.entries.size());
    if (size <= 0) {
      return std::nullopt;
    }
    level.at = 0;
    level.size = static_cast<std::size_t>(size);
  }
  const auto* const entry = reinterpret_cast<const dirent64*>(level.entries.data() + level.at);
  level.at += entry->d_reclen;
  level.position = entry->d_off;
  return entry->d_name;
}

std::optional<std::string> DirectoryOrder::find(Level& level, const std::string& name) {
  auto found = nextName(level);
  while (found && *found != name && *found != withoutEndingDots(name)) {
    found = nextName(level);
  }
  return found;
}

}  // namespace fillstation
