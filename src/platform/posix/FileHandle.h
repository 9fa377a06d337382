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

// Opens an absolute or relative path of any length, piece by piece where the kernel's limit of a
// path (4096 bytes) is exceeded. Flags as of open(2), close-on-exec is added; creates nothing. No
// handle when it can't be opened.
FileHandle openLongPath(const std::string& path, int flags);

// The status of what is at a path of any length, symbolic links followed; none when it can't be
// read.
std::optional<struct stat> statLongPath(const std::string& path);

// A regular file at a path of any length, with its status. It is looked at before it is opened, so
// that nothing but a regular file ever is: opening a FIFO or a device can wait or act. No handle
// for anything else.
FileHandle openRegularFile(const std::string& path, struct stat& status);

// Writes the whole text, unless the descriptor fails: the rest is lost then.
void writeAll(int descriptor, std::string_view text);

// Lets this process have as many files open as the system allows it: a run keeps some forty per
// player open, and the usual limit is 1024. Without effect where the system refuses. To be called
// once, before threads are started; children have the same limit.
void allowManyOpenFiles();

}  // namespace fillstation
