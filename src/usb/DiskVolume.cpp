#include "DiskVolume.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "Platform.h"
#include "UsbText.h"
#include "UsbUtil.h"

namespace fillstation {
namespace {

constexpr int kAttempts = 200;
constexpr std::chrono::microseconds kPauseWithoutDescription(1'000'000);
constexpr std::chrono::microseconds kPauseWithoutVolume(10'000);

template <class Value>
const Value* pointerTo(const std::optional<Value>& value) {
  return value ? &*value : nullptr;
}

void readName(const DiskDescription& description, OwnedCString& volumeName) {
  const char* const name = cfTypeToCString(pointerTo(description.volumeName));
  if (name != nullptr && *name != '\0') {
    volumeName.reset(::strdup(name));
    std::fputs("\n got vol name", stdout);
  }
}

void readPath(const DiskDescription& description, OwnedCString& volumePath) {
  if (!description.volumePath) {
    return;
  }
  std::array<char, kConversionLimit> buffer;
  convertToCString(description.volumePath->description(), buffer.data());
  const std::string path(addressIn(buffer.data()));
  if (!path.empty()) {
    volumePath.reset(::strdup(path.c_str()));
    std::fputs("\n got vol path", stdout);
  }
}

}  // namespace

bool findDiskVolume(Disk& disk, OwnedCString& volumeName, OwnedCString& volumePath) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const auto description = disk.copyDescription();
    if (!description) {
      if (!platform().clock->sleep(kPauseWithoutDescription)) {
        return false;
      }
      std::fputs("\nsleeping", stdout);
      continue;
    }
    readName(*description, volumeName);
    readPath(*description, volumePath);
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
  OwnedCString name;
  OwnedCString path;
  if (disk != nullptr) {
    findDiskVolume(*disk, name, path);
  }
  *volumeName = name.release();
  *volumePath = path.release();
}

void getDiskVolumeFromDriveName(const char* driveName, std::optional<std::string>& volumeName,
                                std::optional<std::string>& volumePath) {
  const auto ownSession = platform().createDiskSession();
  const auto disk = driveName != nullptr ? ownSession->diskFromName(driveName) : nullptr;
  char* name = nullptr;
  char* path = nullptr;
  getDiskVolume(disk.get(), &name, &path);
  const OwnedCString ownedName(name);
  const OwnedCString ownedPath(path);
  if (name != nullptr) {
    volumeName = name;
  }
  if (path != nullptr) {
    volumePath = path;
  }
}

}  // namespace fillstation
