#include "PosixFileManager.h"

#include <fcntl.h>

#include <utility>

#include "DeepWalk.h"
#include "LongPath.h"
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
  return std::make_unique<DeepWalk>(folder, std::move(onError));
}

std::shared_ptr<Volume> PosixFileManager::openVolume(const std::string& mountPath,
                                                     const DiskIdentity& owner) {
  const std::string path = PosixVolume::withoutEndingSlash(mountPath);
  FileHandle root = openLongPath(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!root) {
    return nullptr;
  }
  auto medium = owner_.mediumOf(root.get(), mountPath, owner);
  if (medium == nullptr) {
    return nullptr;
  }
  return std::make_shared<PosixVolume>(std::move(root), path, std::move(medium), stop_);
}

}  // namespace fillstation
