#include "PosixFileManager.h"

#include <fcntl.h>

#include <utility>

#include "DeepWalk.h"
#include "PosixVolume.h"

namespace fillstation {

bool PosixFileManager::fileExists(const std::string& path, bool* isDirectory) {
  const auto status = statLongPath(path);
  if (isDirectory != nullptr) {
    *isDirectory = status && S_ISDIR(status->st_mode);
  }
  return status.has_value();
}

std::optional<std::int64_t> PosixFileManager::fileSize(const std::string& path) {
  const auto status = statLongPath(path);
  return status ? std::optional<std::int64_t>(status->st_size) : std::nullopt;
}

std::unique_ptr<DirectoryWalk> PosixFileManager::walk(const std::string& folder,
                                                      WalkErrorHandler onError) {
  return std::make_unique<DeepWalk>(folder, std::move(onError), onStep_);
}

std::shared_ptr<Volume> PosixFileManager::openVolume(const std::string& mountPath,
                                                     const DiskIdentity& owner) {
  OpenRoot opened = openRoot(mountPath, owner);
  if (!opened.root) {
    return nullptr;
  }
  auto remount = [this, mountPath, owner] {
    const auto path = owner_.remount(owner, mountPath);
    return path ? openRoot(*path, owner) : OpenRoot();
  };
  return std::make_shared<PosixVolume>(std::move(opened.root), mountPath, std::move(opened.medium),
                                       stop_, KernelCalls::real(), std::move(remount));
}

OpenRoot PosixFileManager::openRoot(const std::string& mountPath, const DiskIdentity& owner) {
  FileHandle root =
      openLongPath(PosixVolume::withoutEndingSlash(mountPath), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  auto medium = root ? owner_.mediumOf(root.get(), mountPath, owner) : nullptr;
  return medium ? OpenRoot{std::move(root), std::move(medium)} : OpenRoot();
}

}  // namespace fillstation
