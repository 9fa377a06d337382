#include "FatLedger.h"

#include <cerrno>
#include <utility>

#include "FatNames.h"

namespace fillstation {

namespace {

constexpr std::int64_t kLargestFile = 0xFFFFFFFF;  // bytes
constexpr std::int64_t kSlotBytes = 32;
constexpr std::int64_t kMostSlots = 65536;
constexpr std::int64_t kDotSlots = 2;  // "." and ".."

std::pair<std::string, std::string> split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) {
    return {"", path};
  }
  return {path.substr(0, slash), path.substr(slash + 1)};
}

}  // namespace

void FatLedger::haveDirectory(const std::string& path, std::int64_t usedSlots) {
  directories_[path].slotCount = usedSlots;
}

void FatLedger::haveName(const std::string& path) {
  const auto [parent, name] = split(path);
  directories_[parent].names.insert(foldedFatName(name));
}

std::int64_t FatLedger::clustersOf(std::int64_t bytes) const {
  return (bytes + clusterBytes_ - 1) / clusterBytes_;
}

std::int64_t FatLedger::growth(const Directory& directory, const std::string& name) const {
  return clustersOf((directory.slotCount + fatSlots(name)) * kSlotBytes) -
         clustersOf(directory.slotCount * kSlotBytes);
}

int FatLedger::admit(const std::string& path, std::int64_t size) const {
  const auto [parent, name] = split(path);
  if (const int error = fatNameError(name); error != 0) {
    return error;
  }
  const auto found = directories_.find(parent);
  if (found == directories_.end()) {
    return ENOENT;
  }
  const Directory& directory = found->second;
  if (directory.names.contains(foldedFatName(name))) {
    return EEXIST;
  }
  if (size > kLargestFile) {
    return EFBIG;
  }
  if (directory.slotCount + fatSlots(name) > kMostSlots ||
      clustersOf(size) + growth(directory, name) > freeClusters_) {
    return ENOSPC;
  }
  return 0;
}

void FatLedger::add(const std::string& path, std::int64_t size) {
  const auto [parent, name] = split(path);
  Directory& directory = directories_[parent];
  freeClusters_ -= clustersOf(size) + growth(directory, name);
  directory.slotCount += fatSlots(name);
  directory.names.insert(foldedFatName(name));
}

void FatLedger::addDirectory(const std::string& path) {
  add(path, clusterBytes_);
  haveDirectory(path, kDotSlots);
}

void FatLedger::addFile(const std::string& path, std::int64_t size) { add(path, size); }

}  // namespace fillstation
