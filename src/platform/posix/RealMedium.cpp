#include "RealMedium.h"

#include "KernelCalls.h"

namespace fillstation {

int RealMedium::admitDirectory(const std::string& /*relativePath*/) { return 0; }

int RealMedium::admitFile(const std::string& /*relativePath*/, std::int64_t /*size*/) { return 0; }

int RealMedium::admitBytes(std::int64_t /*count*/) { return 0; }

void RealMedium::created(const std::string& /*relativePath*/, bool /*isDirectory*/) {}

bool RealMedium::flush(int rootDescriptor) {
  return KernelCalls::real().syncVolume(rootDescriptor) == 0;
}

}  // namespace fillstation
