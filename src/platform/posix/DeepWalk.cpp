#include "DeepWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

namespace fillstation {

DeepWalk::DeepWalk(std::string folder, FileManager::WalkErrorHandler onError,
                   std::function<void()> onStep)
    : path_(std::move(folder)), onError_(std::move(onError)), onStep_(std::move(onStep)) {}

std::optional<WalkEntry> DeepWalk::next() {
  if (onStep_) {
    onStep_();
  }
  if (std::exchange(enterNext_, false) && !enter()) {
    levels_.clear();
  }
  while (!levels_.empty() && levels_.back().children.empty()) {
    spare_ = std::move(levels_.back());
    levels_.pop_back();
  }
  if (levels_.empty()) {
    return std::nullopt;
  }
  Level& level = levels_.back();
  const Child& child = level.children.back();
  path_.resize(level.pathLength);
  path_ += level.nameOf(child);
  enterNext_ = child.isDirectory == true;
  WalkEntry entry{path_, child.isDirectory, child.size};
  level.children.pop_back();
  return entry;
}

bool DeepWalk::enter() {
  // The chosen folder may be a link; one below it that has become a link meanwhile is left out.
  const int links = levels_.empty() ? 0 : O_NOFOLLOW;
  const FileHandle folder = openLongPath(path_, O_RDONLY | O_DIRECTORY | links);
  if (!folder) {
    return onError_(path_);
  }
  Level level = std::exchange(spare_, {});
  level.keys.clear();
  const bool whole = readFolder(folder, level);
  const std::string folderPath = path_;
  if (!path_.ends_with('/')) {
    path_ += '/';
  }
  level.pathLength = path_.size();
  levels_.push_back(std::move(level));
  return whole || onError_(folderPath);
}

bool DeepWalk::readFolder(const FileHandle& folder, Level& level) {
  ssize_t size = 1;
  while (size > 0) {
    size = ::getdents64(folder.get(), entries_.data(), entries_.size());
    for (ssize_t at = 0; at < size;) {
      const auto* const entry = reinterpret_cast<const dirent64*>(entries_.data() + at);
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") {
        lookAt(folder.get(), name, level);
      }
      at += entry->d_reclen;
    }
  }
  std::sort(level.children.begin(), level.children.end(),
            [&level](const Child& left, const Child& right) {
              return level.keyOf(left) > level.keyOf(right);
            });
  return size == 0;
}

void DeepWalk::lookAt(int folder, std::string_view name, Level& level) {
  if (onStep_) {
    onStep_();
  }
  Child child;
  struct stat status {};
  const bool seen = ::fstatat(folder, name.data(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  if (seen && S_ISLNK(status.st_mode) &&
      (::fstatat(folder, name.data(), &status, 0) != 0 || S_ISDIR(status.st_mode))) {
    return;
  }
  if (seen) {
    child.isDirectory = S_ISDIR(status.st_mode);
    child.size = status.st_size;
  }
  child.key = level.keys.size();
  appendSortKey(name, level.keys);
  child.end = level.keys.size();
  child.name = child.end - name.size();
  level.children.push_back(child);
}

}  // namespace fillstation
