#include "PosixVolume.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <utility>

#include "LongPath.h"

namespace fillstation {

namespace {

// Content is read, admitted and written in pieces of this many bytes.
constexpr std::size_t kChunk = std::size_t{1} << 20;

std::string joined(const std::vector<std::string>& components) {
  std::string path;
  for (const auto& component : components) {
    path += (path.empty() ? "" : "/") + component;
  }
  return path;
}

// The source of a copy. It is looked at before it is opened, so that nothing but a regular file
// ever is: opening a FIFO or a device can wait or act.
FileHandle openRegularFile(const std::string& path, struct stat& status) {
  const FileHandle place = openLongPath(path, O_PATH);
  if (!place || ::fstat(place.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return {};
  }
  return openLongPath("/proc/self/fd/" + std::to_string(place.get()), O_RDONLY);
}

}  // namespace

PosixVolume::PosixVolume(FileHandle root, const std::string& mountPath,
                         std::shared_ptr<VolumeMedium> medium, const StopSource& stop,
                         KernelCalls& calls)
    : root_(std::move(root)),
      mountPath_(withoutEndingSlash(mountPath)),
      medium_(std::move(medium)),
      stop_(stop),
      calls_(calls),
      window_(root_.get(), calls),
      buffer_(kChunk) {}

std::string PosixVolume::withoutEndingSlash(std::string path) {
  while (path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

bool PosixVolume::createDirectory(const std::string& destination) {
  const auto components = componentsOf(destination);
  if (!components || stop_.requested()) {
    return false;
  }
  FileHandle directory = openBelow(root_.get(), ".");
  Components reached;
  for (const auto& component : *components) {
    reached.push_back(component);
    directory = createBelow(directory.get(), component, joined(reached));
    if (!directory) {
      break;
    }
  }
  return static_cast<bool>(directory);
}

bool PosixVolume::copyItem(const std::string& source, const std::string& destination) {
  const auto components = componentsOf(destination);
  if (!components || components->empty() || stop_.requested()) {
    return false;
  }
  struct stat status {};
  const FileHandle from = openRegularFile(source, status);
  const FileHandle parent = openParent(*components);
  const std::string relativePath = joined(*components);
  if (!from || !parent || medium_->admitFile(relativePath, status.st_size) != 0) {
    return false;
  }
  const char* const name = components->back().c_str();
  FileHandle to(::openat(parent.get(), name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!to) {
    return false;
  }
  if (!fillFile(from.get(), status, std::move(to))) {
    ::unlinkat(parent.get(), name, 0);
    return false;
  }
  medium_->created(relativePath, false);
  return true;
}

bool PosixVolume::flush() { return medium_->flush(root_.get()); }

std::optional<PosixVolume::Components> PosixVolume::componentsOf(
    std::string_view destination) const {
  if (!destination.starts_with(mountPath_) || destination.find('\0') != std::string_view::npos) {
    return std::nullopt;
  }
  std::string_view rest = destination.substr(mountPath_.size());
  if (!rest.empty() && !rest.starts_with('/')) {
    return std::nullopt;
  }
  Components components;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('/'), rest.size());
    const std::string_view component = rest.substr(0, end);
    if (component == "." || component == "..") {
      return std::nullopt;
    }
    if (!component.empty()) {
      components.emplace_back(component);
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return components;
}

FileHandle PosixVolume::openBelow(int parent, const std::string& name) const {
  FileHandle directory(
      ::openat(parent, name.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat root {};
  struct stat here {};
  if (!directory || ::fstat(root_.get(), &root) != 0 || ::fstat(directory.get(), &here) != 0 ||
      root.st_dev != here.st_dev) {
    return {};
  }
  return directory;
}

FileHandle PosixVolume::openParent(const Components& components) const {
  FileHandle directory = openBelow(root_.get(), ".");
  for (std::size_t index = 0; index + 1 < components.size() && directory; ++index) {
    directory = openBelow(directory.get(), components[index]);
  }
  return directory;
}

FileHandle PosixVolume::createBelow(int parent, const std::string& name,
                                    const std::string& relativePath) {
  FileHandle existing = openBelow(parent, name);
  if (existing) {
    return existing;
  }
  if (medium_->admitDirectory(relativePath) != 0 || ::mkdirat(parent, name.c_str(), 0777) != 0) {
    return {};
  }
  medium_->created(relativePath, true);
  return openBelow(parent, name);
}

bool PosixVolume::fillFile(int source, const struct stat& status, FileHandle target) {
  const bool copied =
      canReach(target.get(), status.st_size) && copyContent(source, target.get(), status.st_size);
  window_.fileEnds();
  return copied && calls_.setModificationTime(target.get(), status.st_mtim) == 0 &&
         calls_.close(target.release()) == 0;
}

// The file system says right away what it would refuse after all that fits: on FAT, 4 GiB.
bool PosixVolume::canReach(int target, std::int64_t size) {
  return calls_.seek(target, size) == size && calls_.seek(target, 0) == 0;
}

bool PosixVolume::copyContent(int source, int target, std::int64_t size) {
  calls_.advise(source, POSIX_FADV_SEQUENTIAL);
  calls_.advise(source, POSIX_FADV_WILLNEED);
  std::int64_t copied = 0;
  while (!stop_.requested()) {
    const ssize_t count = calls_.read(source, buffer_.data(), buffer_.size());
    if (count <= 0) {
      return count == 0 && copied == size;
    }
    copied += count;
    // A file that grows meanwhile is not what was admitted, and might never end.
    if (copied > size || !writeChunk(target, count)) {
      return false;
    }
  }
  return false;
}

bool PosixVolume::writeChunk(int target, std::int64_t count) {
  if (medium_->admitBytes(count) != 0 || !window_.makeRoom(count)) {
    return false;
  }
  std::int64_t done = 0;
  while (done < count) {
    const ssize_t written =
        calls_.write(target, buffer_.data() + done, static_cast<std::size_t>(count - done));
    if (written < 0) {
      return false;
    }
    done += written;
  }
  return window_.written(target, count);
}

}  // namespace fillstation
