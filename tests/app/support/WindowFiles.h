#pragma once

#include "PosixFileManager.h"
#include "RealSourceFiles.h"
#include "TestVolumes.h"

namespace fillstation::test {

// The file manager of the machine, without any player's volume.
struct MachineFiles {
  class NoOwner : public VolumeOwner {
    std::shared_ptr<VolumeMedium> mediumOf(int /*rootDescriptor*/, const std::string& /*mountPath*/,
                                           const DiskIdentity& /*owner*/) override {
      return nullptr;
    }
    std::optional<std::string> remount(const DiskIdentity& /*owner*/,
                                       const std::string& /*mountPath*/) override {
      return std::nullopt;
    }
  };

  StopSource stop;
  NoOwner nobody;
  PosixFileManager files{nobody, stop};
};

// The real files of the machine and the volumes of the test.
class WindowFiles : private MachineFiles, public RealSourceFiles {
 public:
  WindowFiles() : RealSourceFiles(files) {}

  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    return volumes.openVolume(mountPath, owner);
  }

  TestVolumes volumes;
};

}  // namespace fillstation::test
