#include "PosixVolume.h"

#include <fcntl.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <random>
#include <sstream>
#include <utility>

#include "ReadBack.h"
#include "Url.h"

namespace fillstation {

namespace {

// The size of the pieces in which content is accepted and copied, in bytes.
constexpr std::int64_t kChunk = std::int64_t{1} << 20;

std::string joined(const std::vector<std::string>& components) {
  std::string path;
  for (const auto& component : components) {
    path += (path.empty() ? "" : "/") + component;
  }
  return path;
}

// The medium's answer to data that is to be written.
bool isAdmitted(int error) {
  errno = error;
  return error == 0;
}

// By the clock of the times of files.
std::timespec timeNow() {
  std::timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return now;
}

}  // namespace

bool VolumeMedium::closesSlowly(int rootDescriptor) {
  struct stat root {};
  return ::fstat(rootDescriptor, &root) == 0 && !mountPoints(root.st_dev, "flush").empty();
}

std::vector<std::string> mountPoints(dev_t device, const std::string& option,
                                     const std::string& tablePath) {
  const std::string wanted =
      std::to_string(::major(device)) + ":" + std::to_string(::minor(device));
  std::vector<std::string> found;
  std::ifstream table(tablePath);
  for (std::string line; std::getline(table, line);) {
    std::istringstream fields(line);
    std::string number;
    std::string root;
    std::string mountPoint;
    fields >> number >> number >> number >> root >> mountPoint;
    // The file system's own options are at the end.
    const std::string options = ',' + line.substr(line.rfind(' ') + 1) + ',';
    if (number == wanted && root == "/" &&
        (option.empty() || options.find(',' + option + ',') != std::string::npos)) {
      // The kernel writes blank, tab, line feed and backslash in octal.
      found.push_back(decodeEscapes(mountPoint, "\\", 3, 8));
    }
  }
  return found;
}

bool WriteWindow::makeRoom(std::int64_t count) {
  if (earlierFiles_ + end_ - settled_ + count <= kLimit) {
    return true;
  }
  if (calls_.syncVolume(root_) != 0) {
    return false;
  }
  earlierFiles_ = 0;
  settled_ = end_;
  return true;
}

bool WriteWindow::written(int descriptor, std::int64_t count) {
  const std::int64_t begin = end_;
  end_ += count;
  if (count >= kWorthStarting &&
      calls_.syncFileRange(descriptor, begin, count, SYNC_FILE_RANGE_WRITE) != 0) {
    return false;
  }
  const std::int64_t due = end_ - kBehind - settled_;
  if (due <= 0) {
    return true;
  }
  const std::int64_t from = settled_;
  settled_ += due;
  return calls_.syncFileRange(
             descriptor, from, due,
             SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER) == 0;
}

void WriteWindow::fileEnds() {
  earlierFiles_ += end_ - settled_;
  settled_ = 0;
  end_ = 0;
}

void Closers::close(FileHandle file) noexcept {
  if (held_.size() + closing_.size() == kMost) {
    awaitFirst();
  }
  held_.push_back(std::move(file));
  if (held_.size() == kTogether) {
    begin();
  }
}

bool Closers::finish() noexcept {
  begin();
  while (!closing_.empty()) {
    awaitFirst();
  }
  return !failed_;
}

void Closers::begin() {
  for (auto& file : std::exchange(held_, {})) {
    closing_.push_back(std::async(std::launch::async, [this, descriptor = file.release()] {
      return calls_.close(descriptor) == 0;
    }));
  }
}

void Closers::awaitFirst() {
  failed_ = !closing_.front().get() || failed_;
  closing_.pop_front();
}

PosixVolume::PosixVolume(FileHandle root, const std::string& mountPath,
                         std::shared_ptr<VolumeMedium> medium, const StopSource& stop,
                         KernelCalls& calls, Remount remount)
    : root_(std::move(root)),
      mountPath_(withoutEndingSlash(mountPath)),
      medium_(std::move(medium)),
      remount_(std::move(remount)),
      opened_(timeNow()),
      stop_(stop),
      calls_(calls),
      window_(root_.get(), calls),
      closesSlowly_(medium_->closesSlowly(root_.get())),
      closers_(calls) {}

std::string PosixVolume::withoutEndingSlash(std::string path) {
  while (path.ends_with('/')) {
    path.pop_back();
  }
  return path;
}

bool PosixVolume::createDirectory(const std::string& destination) {
  errno = 0;
  return noted(makeFolders(destination), destination);
}

bool PosixVolume::copyItem(const std::string& source, const std::string& destination) {
  errno = 0;
  return noted(copyFile(source, destination), destination);
}

bool PosixVolume::noted(bool done, const std::string& destination) {
  if (!done && !hasFailed_) {
    hasFailed_ = true;
    failure_.error = errno;
    failure_.path = destination.substr(std::min(destination.size(), mountPath_.size() + 1));
  }
  return done;
}

bool PosixVolume::makeFolders(const std::string& destination) {
  const auto components = componentsBelow(mountPath_, destination);
  if (!components || stop_.requested()) {
    return false;
  }
  FileHandle directory = openFolderBelow(root_.get(), root_.get(), ".", O_PATH);
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

bool PosixVolume::copyFile(const std::string& source, const std::string& destination) {
  const auto components = componentsBelow(mountPath_, destination);
  if (!components || components->empty() || stop_.requested()) {
    return false;
  }
  struct stat status {};
  const FileHandle from = openRegularFile(source, status);
  const std::string relativePath = joined(*components);
  if (!from || !enterParent(*components) ||
      !isAdmitted(medium_->admit(relativePath, status.st_size))) {
    return false;
  }
  const char* const name = components->back().c_str();
  FileHandle to(::openat(parent_.get(), name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!to) {
    return false;
  }
  if (!fillFile(from.get(), status, std::move(to))) {
    const int error = errno;
    ::unlinkat(parent_.get(), name, 0);
    errno = error;
    return false;
  }
  medium_->created(relativePath);
  return true;
}

bool PosixVolume::flush() {
  errno = 0;
  const bool closed = closers_.finish();
  return noted(medium_->flush(root_.get()) && closed);
}

bool PosixVolume::readBack(const CopiedItems& items) {
  // Open files would keep the volume from being unmounted.
  parent_ = {};
  root_ = {};
  medium_.reset();
  const OpenRoot again = remount_();
  if (!again.root) {
    errno = 0;  // errno of an earlier call has no meaning here
    return noted(false);
  }
  ReadBack readBack(again.root.get(), mountPath_, opened_, stop_, calls_);
  errno = 0;
  const bool holds =
      readBack.holds(items, std::random_device{}(), DirectoryOrder::keptOn(again.root.get()));
  return noted(holds, readBack.latest());
}

bool PosixVolume::enterParent(const Components& components) {
  Components path(components.begin(), components.end() - 1);
  if (parent_ && path == parentPath_) {
    return true;
  }
  parentPath_ = std::move(path);
  parent_ = openFolderBelow(root_.get(), root_.get(), ".", O_PATH);
  for (const auto& component : parentPath_) {
    parent_ = openFolderBelow(root_.get(), parent_.get(), component, O_PATH);
  }
  return static_cast<bool>(parent_);
}

FileHandle PosixVolume::createBelow(int parent, const std::string& name,
                                    const std::string& relativePath) {
  FileHandle existing = openFolderBelow(root_.get(), parent, name, O_PATH);
  if (existing) {
    return existing;
  }
  if (!isAdmitted(medium_->admit(relativePath, std::nullopt)) ||
      ::mkdirat(parent, name.c_str(), 0777) != 0) {
    return {};
  }
  medium_->created(relativePath);
  return openFolderBelow(root_.get(), parent, name, O_PATH);
}

bool PosixVolume::fillFile(int source, const struct stat& status, FileHandle target) {
  const bool copied =
      canReach(target.get(), status.st_size) && copyContent(source, target.get(), status.st_size);
  window_.fileEnds();
  if (!copied || calls_.setModificationTime(target.get(), status.st_mtim) != 0) {
    return false;
  }
  if (closesSlowly_) {
    closers_.close(std::move(target));
    return true;
  }
  return calls_.close(target.release()) == 0;
}

// The file system itself refuses too large files before anything is written: on FAT, 4 GiB.
bool PosixVolume::canReach(int target, std::int64_t size) {
  return calls_.seek(target, size) == size && calls_.seek(target, 0) == 0;
}

bool PosixVolume::copyContent(int source, int target, std::int64_t size) {
  if (size > kChunk) {
    calls_.advise(source, POSIX_FADV_SEQUENTIAL);
    calls_.advise(source, POSIX_FADV_WILLNEED);
  }
  for (std::int64_t copied = 0; copied < size;) {
    const std::int64_t count = std::min(kChunk, size - copied);
    if (stop_.requested() || !isAdmitted(medium_->admitBytes(count)) || !window_.makeRoom(count) ||
        !copyPiece(source, target, count) || !window_.written(target, count)) {
      return false;
    }
    copied += count;
  }
  // The size was checked before; a file that has grown since is not copied.
  struct stat now {};
  return !stop_.requested() && ::fstat(source, &now) == 0 && now.st_size == size;
}

bool PosixVolume::copyPiece(int source, int target, std::int64_t count) {
  return (inKernel_ && sendPiece(source, target, count)) ||
         (!inKernel_ && carryPiece(source, target, count));
}

bool PosixVolume::sendPiece(int source, int target, std::int64_t count) {
  for (std::int64_t done = 0; done < count;) {
    const ssize_t sent = calls_.sendFile(target, source, static_cast<std::size_t>(count - done));
    if (sent <= 0) {
      inKernel_ = done > 0 || (errno != EINVAL && errno != ENOSYS);
      return false;
    }
    done += sent;
  }
  return true;
}

bool PosixVolume::carryPiece(int source, int target, std::int64_t count) {
  buffer_.resize(kChunk);
  for (std::int64_t done = 0; done < count;) {
    const ssize_t got = calls_.read(source, buffer_.data(), static_cast<std::size_t>(count - done));
    if (got <= 0) {
      return false;
    }
    for (ssize_t put = 0; put < got;) {
      const ssize_t written =
          calls_.write(target, buffer_.data() + put, static_cast<std::size_t>(got - put));
      if (written < 0) {
        return false;
      }
      put += written;
    }
    done += got;
  }
  return true;
}

}  // namespace fillstation
