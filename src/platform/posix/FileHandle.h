#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace fillstation {

// Owns one file descriptor, or none. A plain value of one thread.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
  ~FileHandle() {
    if (descriptor_ >= 0) {
      ::close(descriptor_);
    }
  }
  FileHandle(FileHandle&& other) noexcept : descriptor_(other.release()) {}
  FileHandle& operator=(FileHandle&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  // True when there is a descriptor.
  explicit operator bool() const { return descriptor_ >= 0; }
  // The descriptor, -1 for none; stays this object's.
  int get() const { return descriptor_; }
  // The descriptor, -1 for none; the caller closes it.
  int release() { return std::exchange(descriptor_, -1); }

 private:
  int descriptor_ = -1;
};

// Opens an absolute or relative path of any length, piece by piece if it exceeds the kernel's limit
// of 4096 bytes. Flags as of open(2), plus close-on-exec; creates nothing. No handle if it can't be
// opened.
FileHandle openLongPath(const std::string& path, int flags);

// The status of the file at a path of any length, following symbolic links; none if it can't be
// read.
std::optional<struct stat> statLongPath(const std::string& path);

// A regular file at a path of any length, with its status. It is checked before it is opened, so
// that only regular files are: opening a FIFO or a device can block or act. No handle for anything
// else.
FileHandle openRegularFile(const std::string& path, struct stat& status);

// Writes the whole text; if the descriptor fails, the rest is lost.
void writeAll(int descriptor, std::string_view text);

// Raises this process's limit of open files to the system's maximum: a run keeps some forty per
// player open, and the usual limit is 1024. No effect if the system refuses. Call it once, before
// threads are started; children have the same limit.
void allowManyOpenFiles();

}  // namespace fillstation
