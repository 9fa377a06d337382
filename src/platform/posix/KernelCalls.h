#pragma once

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>

namespace fillstation {

// The system calls of a copy and its read-back whose failures and effects a test can't produce with
// real files. Each one behaves like the call with its name, errno included. Any thread.
class KernelCalls {
 public:
  virtual ~KernelCalls() = default;

  // The calls of the running kernel.
  static KernelCalls& real() {
    static KernelCalls calls;
    return calls;
  }

  // sendfile from the source's current position.
  virtual ssize_t sendFile(int target, int source, std::size_t count) {
    return ::sendfile(target, source, nullptr, count);
  }
  virtual ssize_t read(int descriptor, void* buffer, std::size_t count) {
    return ::read(descriptor, buffer, count);
  }
  // pread.
  virtual ssize_t readAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset) {
    return ::pread(descriptor, buffer, count, offset);
  }
  virtual ssize_t write(int descriptor, const void* buffer, std::size_t count) {
    return ::write(descriptor, buffer, count);
  }
  // On several threads at once.
  virtual int close(int descriptor) { return ::close(descriptor); }
  // lseek from the beginning.
  virtual std::int64_t seek(int descriptor, std::int64_t offset) {
    return ::lseek(descriptor, offset, SEEK_SET);
  }
  // futimens with the modification time alone.
  virtual int setModificationTime(int descriptor, const std::timespec& time) {
    const std::array times{std::timespec{0, UTIME_OMIT}, time};
    return ::futimens(descriptor, times.data());
  }
  // posix_fadvise over the whole file.
  virtual int advise(int descriptor, int advice) {
    return ::posix_fadvise(descriptor, 0, 0, advice);
  }
  virtual int syncFileRange(int descriptor, std::int64_t offset, std::int64_t count,
                            unsigned int flags) {
    return ::sync_file_range(descriptor, offset, count, flags);
  }
  virtual int syncVolume(int descriptor) { return ::syncfs(descriptor); }
};

}  // namespace fillstation
