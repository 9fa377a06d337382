#pragma once

#include <fcntl.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "DeepWalk.h"
#include "FileHandle.h"
#include "FileManager.h"
#include "PosixVolume.h"
#include "StopSource.h"
#include "VolumeOwner.h"

namespace fillstation {

// The real file system, for both back ends; the owner provides what differs between them. Any
// thread; owner and stop source outlive it and its open volumes.
class PosixFileManager : public FileManager {
 public:
  // A copy in progress fails when the stop is requested. A walk calls onStep, if given, repeatedly,
  // because it may take long.
  PosixFileManager(VolumeOwner& owner, const StopSource& stop, std::function<void()> onStep = {})
      : owner_(owner), stop_(stop), onStep_(std::move(onStep)) {}

  bool fileExists(const std::string& path, bool* isDirectory = nullptr) override {
    const auto status = statLongPath(path);
    if (isDirectory != nullptr) {
      *isDirectory = status && S_ISDIR(status->st_mode);
    }
    return status.has_value();
  }
  std::optional<std::int64_t> fileSize(const std::string& path) override {
    const auto status = statLongPath(path);
    return status ? std::optional<std::int64_t>(status->st_size) : std::nullopt;
  }
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder,
                                      WalkErrorHandler onError) override {
    return std::make_unique<DeepWalk>(folder, std::move(onError), onStep_);
  }
  // Null too if the mount path is not a directory or its last component is a symbolic link.
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    OpenRoot opened = openRoot(mountPath, owner);
    if (!opened.root) {
      return nullptr;
    }
    auto remount = [this, mountPath, owner] {
      const auto path = owner_.remount(owner, mountPath);
      return path ? openRoot(*path, owner) : OpenRoot();
    };
    return std::make_shared<PosixVolume>(std::move(opened.root), mountPath,
                                         std::move(opened.medium), stop_, KernelCalls::real(),
                                         std::move(remount));
  }

 private:
  // No handle unless the path is a mount of that disk.
  OpenRoot openRoot(const std::string& mountPath, const DiskIdentity& owner) {
    FileHandle root = openLongPath(PosixVolume::withoutEndingSlash(mountPath),
                                   O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    auto medium = root ? owner_.mediumOf(root.get(), mountPath, owner) : nullptr;
    return medium ? OpenRoot{std::move(root), std::move(medium)} : OpenRoot();
  }

  VolumeOwner& owner_;
  const StopSource& stop_;
  const std::function<void()> onStep_;
};

}  // namespace fillstation
