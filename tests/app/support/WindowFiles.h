#pragma once

#include "PosixFileManager.h"
#include "TestVolumes.h"

namespace fillstation::test {

// The real files of the machine and the volumes of the test.
class WindowFiles : public FileManager {
 public:
  bool fileExists(const std::string& path, bool* isDirectory) override {
    return real_.fileExists(path, isDirectory);
  }
  std::optional<std::int64_t> fileSize(const std::string& path) override {
    return real_.fileSize(path);
  }
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder,
                                      WalkErrorHandler onError) override {
    return real_.walk(folder, std::move(onError));
  }
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    return volumes.openVolume(mountPath, owner);
  }

  TestVolumes volumes;

 private:
  class NoOwner : public VolumeOwner {
    std::shared_ptr<VolumeMedium> mediumOf(int /*rootDescriptor*/, const std::string& /*mountPath*/,
                                           const DiskIdentity& /*owner*/) override {
      return nullptr;
    }
  };

  StopSource stop_;
  NoOwner owner_;
  PosixFileManager real_{owner_, stop_};
};

}  // namespace fillstation::test
