#include <linux/magic.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

// Takes the place of the system's function: every volume is a FAT one.
extern "C" int fstatfs(int descriptor, struct statfs* status) noexcept {
  const auto result = ::syscall(SYS_fstatfs, descriptor, status);
  status->f_type = MSDOS_SUPER_MAGIC;
  return static_cast<int>(result);
}
