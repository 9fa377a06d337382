#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace fillstation {

// The system calls of a copy and its reading back whose failures and effects a test can't bring
// about or see with real files. Each does what the call of its name does, errno included. Any
// thread.
class KernelCalls {
 public:
  virtual ~KernelCalls() = default;

  // The calls of the running kernel.
  static KernelCalls& real();

  // sendfile from where the source stands.
  virtual ssize_t sendFile(int target, int source, std::size_t count);
  virtual ssize_t read(int descriptor, void* buffer, std::size_t count);
  // pread.
  virtual ssize_t readAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset);
  virtual ssize_t write(int descriptor, const void* buffer, std::size_t count);
  // On several threads at once.
  virtual int close(int descriptor);
  // lseek from the beginning.
  virtual std::int64_t seek(int descriptor, std::int64_t offset);
  // futimens with the modification time alone.
  virtual int setModificationTime(int descriptor, const std::timespec& time);
  // posix_fadvise over the whole file.
  virtual int advise(int descriptor, int advice);
  virtual int syncFileRange(int descriptor, std::int64_t offset, std::int64_t count,
                            unsigned int flags);
  virtual int syncVolume(int descriptor);
};

}  // namespace fillstation
