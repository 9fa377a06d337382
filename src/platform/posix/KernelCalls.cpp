#include "KernelCalls.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

namespace fillstation {

KernelCalls& KernelCalls::real() {
  static KernelCalls calls;
  return calls;
}

ssize_t KernelCalls::sendFile(int target, int source, std::size_t count) {
  return ::sendfile(target, source, nullptr, count);
}

ssize_t KernelCalls::read(int descriptor, void* buffer, std::size_t count) {
  return ::read(descriptor, buffer, count);
}

ssize_t KernelCalls::readAt(int descriptor, void* buffer, std::size_t count, std::int64_t offset) {
  return ::pread(descriptor, buffer, count, offset);
}

ssize_t KernelCalls::write(int descriptor, const void* buffer, std::size_t count) {
  return ::write(descriptor, buffer, count);
}

int KernelCalls::close(int descriptor) { return ::close(descriptor); }

std::int64_t KernelCalls::seek(int descriptor, std::int64_t offset) {
  return ::lseek(descriptor, offset, SEEK_SET);
}

int KernelCalls::setModificationTime(int descriptor, const std::timespec& time) {
  const std::array<std::timespec, 2> times{std::timespec{0, UTIME_OMIT}, time};
  return ::futimens(descriptor, times.data());
}

int KernelCalls::advise(int descriptor, int advice) {
  return ::posix_fadvise(descriptor, 0, 0, advice);
}

int KernelCalls::syncFileRange(int descriptor, std::int64_t offset, std::int64_t count,
                               unsigned int flags) {
  return ::sync_file_range(descriptor, offset, count, flags);
}

int KernelCalls::syncVolume(int descriptor) { return ::syncfs(descriptor); }

}  // namespace fillstation
