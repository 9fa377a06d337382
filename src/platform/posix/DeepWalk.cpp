#include "DeepWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>
#include <utility>

#include "LongPath.h"
#include "NameOrder.h"

namespace fillstation {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

}  // namespace

DeepWalk::DeepWalk(std::string folder, FileManager::WalkErrorHandler onError)
    : path_(std::move(folder)), onError_(std::move(onError)) {}

std::optional<WalkEntry> DeepWalk::next() {
  if (std::exchange(enterNext_, false) && !enter()) {
    levels_.clear();
  }
  while (!levels_.empty() && levels_.back().children.empty()) {
    levels_.pop_back();
  }
  if (levels_.empty()) {
    return std::nullopt;
  }
  Level& level = levels_.back();
  const Child child = std::move(level.children.back());
  level.children.pop_back();
  path_.resize(level.pathLength);
  path_ += child.name;
  enterNext_ = child.isDirectory == true && !isOnTheWayDown(child.identity);
  return WalkEntry{path_, child.isDirectory, child.size};
}

bool DeepWalk::enter() {
  FileHandle folder = openLongPath(path_, O_RDONLY | O_DIRECTORY);
  struct stat status {};
  if (!folder || ::fstat(folder.get(), &status) != 0) {
    return onError_(path_);
  }
  Level level;
  level.identity = {status.st_dev, status.st_ino};
  const bool whole = readFolder(std::move(folder), level.children);
  const std::string folderPath = path_;
  if (!path_.ends_with('/')) {
    path_ += '/';
  }
  level.pathLength = path_.size();
  levels_.push_back(std::move(level));
  return whole || onError_(folderPath);
}

bool DeepWalk::readFolder(FileHandle folder, std::vector<Child>& children) {
  const Folder reader(::fdopendir(folder.get()));
  if (!reader) {
    return false;
  }
  const int descriptor = folder.release();
  errno = 0;
  while (const dirent* entry = ::readdir(reader.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") {
      if (auto child = lookAt(descriptor, entry->d_name)) {
        children.push_back(*std::move(child));
      }
    }
    errno = 0;
  }
  const bool whole = errno == 0;
  std::sort(children.begin(), children.end(), [](const Child& left, const Child& right) {
    return namesInOrder(right.name, left.name);
  });
  return whole;
}

std::optional<DeepWalk::Child> DeepWalk::lookAt(int folder, const char* name) {
  Child child;
  child.name = name;
  struct stat status {};
  if (::fstatat(folder, name, &status, 0) == 0) {
    child.isDirectory = S_ISDIR(status.st_mode);
    child.size = status.st_size;
    child.identity = {status.st_dev, status.st_ino};
  } else if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
             S_ISLNK(status.st_mode)) {
    return std::nullopt;
  }
  return child;
}

bool DeepWalk::isOnTheWayDown(const Identity& identity) const {
  return std::any_of(levels_.begin(), levels_.end(),
                     [&](const Level& level) { return level.identity == identity; });
}

}  // namespace fillstation
