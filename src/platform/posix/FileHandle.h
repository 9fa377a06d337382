#pragma once

#include <utility>

namespace fillstation {

// Owns one file descriptor, or none. A plain value of one thread.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(int descriptor) : descriptor_(descriptor) {}
  ~FileHandle();
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

}  // namespace fillstation
