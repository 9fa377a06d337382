#include "RealMedium.h"

#include <linux/magic.h>
#include <sys/vfs.h>

#include "KernelCalls.h"

namespace fillstation {

int RealMedium::admitDirectory(const std::string& /*relativePath*/) { return 0; }

int RealMedium::admitFile(const std::string& /*relativePath*/, std::int64_t /*size*/) { return 0; }

int RealMedium::admitBytes(std::int64_t /*count*/) { return 0; }

void RealMedium::created(const std::string& /*relativePath*/, bool /*isDirectory*/) {}

bool RealMedium::closesSlowly(int rootDescriptor) {
  struct statfs status {};
  return ::fstatfs(rootDescriptor, &status) == 0 && status.f_type == MSDOS_SUPER_MAGIC;
}

bool RealMedium::flush(int rootDescriptor) {
  return KernelCalls::real().syncVolume(rootDescriptor) == 0;
}

}  // namespace fillstation
