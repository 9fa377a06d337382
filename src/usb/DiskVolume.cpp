#include <chrono>
#include <cstdio>
#include <cstring>

#include "Platform.h"
#include "UsbUtil.h"

namespace fillstation {
namespace {

constexpr int kAttempts = 200;
constexpr std::chrono::microseconds kPauseWithoutDescription(1'000'000);
constexpr std::chrono::microseconds kPauseWithoutVolume(10'000);

// True when there was something to be stored.
bool store(const char* found, std::optional<std::string>& output) {
  if (*found == '\0') {
    return false;
  }
  output = found;
  return true;
}

void readFacts(const DiskDescription& description, std::optional<std::string>& volumeName,
               std::optional<std::string>& volumePath) {
  const std::string name = '"' + description.volumeName.value_or("") + '"';
  if (store(cfTypeToCString(&name), volumeName)) {
    std::fputs("\n got vol name", stdout);
  }
  const std::string path = description.volumePath.value_or("");
  if (store(cfStringRefToCString(&path), volumePath)) {
    std::fputs("\n got vol path", stdout);
  }
}

}  // namespace

bool findDiskVolume(Disk& disk, std::optional<std::string>& volumeName,
                    std::optional<std::string>& volumePath) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const auto description = disk.copyDescription();
    if (!description) {
      if (!platform().clock->sleep(kPauseWithoutDescription)) {
        return false;
      }
      std::fputs("\nsleeping", stdout);
      continue;
    }
    readFacts(*description, volumeName, volumePath);
    if (volumeName || volumePath) {
      return true;
    }
    std::fputs("\n no vol name", stdout);
    if (!platform().clock->sleep(kPauseWithoutVolume)) {
      return false;
    }
  }
  return true;
}

void getDiskVolume(Disk* disk, char** volumeName, char** volumePath) {
  std::optional<std::string> name;
  std::optional<std::string> path;
  if (disk != nullptr) {
    findDiskVolume(*disk, name, path);
  }
  *volumeName = name ? ::strdup(name->c_str()) : nullptr;
  *volumePath = path ? ::strdup(path->c_str()) : nullptr;
}

void getDiskVolumeFromDriveName(const char* driveName, std::optional<std::string>& volumeName,
                                std::optional<std::string>& volumePath) {
  const auto ownSession = platform().createDiskSession();
  const auto disk = driveName != nullptr ? ownSession->diskFromName(driveName) : nullptr;
  std::optional<std::string> name;
  std::optional<std::string> path;
  if (disk) {
    findDiskVolume(*disk, name, path);
  }
  if (name) {
    volumeName = std::move(name);
  }
  if (path) {
    volumePath = std::move(path);
  }
}

}  // namespace fillstation
