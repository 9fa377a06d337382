#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "FileManager.h"
#include "PosixVolume.h"
#include "StopSource.h"
#include "VolumeOwner.h"

namespace fillstation {

// The real file system, for both back ends; what they know of volumes comes through the owner. Any
// thread; owner and stop source outlive it and the volumes that it opened.
class PosixFileManager : public FileManager {
 public:
  // A copy in progress fails when the stop is requested. A walk calls onStep, if there is one,
  // again and again: it may take long.
  PosixFileManager(VolumeOwner& owner, const StopSource& stop, std::function<void()> onStep = {})
      : owner_(owner), stop_(stop), onStep_(std::move(onStep)) {}

  bool fileExists(const std::string& path, bool* isDirectory = nullptr) override;
  std::optional<std::int64_t> fileSize(const std::string& path) override;
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder, WalkErrorHandler onError) override;
  // Null as well when the mount path is not a directory or its last component is a symbolic link.
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override;

 private:
  // No handle unless the path is a mount of that disk.
  OpenRoot openRoot(const std::string& mountPath, const DiskIdentity& owner);

  VolumeOwner& owner_;
  const StopSource& stop_;
  const std::function<void()> onStep_;
};

}  // namespace fillstation
