#pragma once

#include <cstdint>
#include <string>

#include "VolumeMedium.h"

namespace fillstation {

// The medium of a volume that the kernel has mounted: the kernel itself refuses what can't be, and
// syncfs is what reports a medium that has gone.
class RealMedium : public VolumeMedium {
 public:
  int admitDirectory(const std::string& relativePath) override;
  int admitFile(const std::string& relativePath, std::int64_t size) override;
  int admitBytes(std::int64_t count) override;
  void created(const std::string& relativePath, bool isDirectory) override;
  // True on FAT, which may be mounted with the option `flush`.
  bool closesSlowly(int rootDescriptor) override;
  bool flush(int rootDescriptor) override;
};

}  // namespace fillstation
