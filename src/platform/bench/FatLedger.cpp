#include "FatLedger.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <utility>

#include "FatImage.h"

namespace fillstation {

namespace {

constexpr std::int64_t kLargestFile = 0xFFFFFFFF;  // bytes
constexpr std::int64_t kSlotBytes = 32;
constexpr std::int64_t kMostSlots = 65536;
constexpr std::int64_t kDotSlots = 2;      // "." and ".."
constexpr std::size_t kLongestName = 255;  // UTF-16 units
constexpr std::size_t kUnitsPerSlot = 13;

bool isForbidden(char16_t unit) {
  return unit < 0x20 || std::u16string_view(u":?*<>|\"\\").find(unit) != std::u16string_view::npos;
}

// 0 for a name that a FAT file system can hold, or the errno of its creation.
int nameError(std::string_view name) {
  const std::string_view stripped = fatName(name);
  const auto units = utf16Of(stripped);
  if (stripped.empty()) {
    return ENOENT;
  }
  if (!units || stripped.back() == ' ' || std::any_of(units->begin(), units->end(), isForbidden)) {
    return EINVAL;
  }
  return units->size() > kLongestName ? ENAMETOOLONG : 0;
}

// Names that are equal after this are the same name: letters of ASCII count alike in both cases.
std::string folded(std::string_view name) {
  std::string same(fatName(name));
  std::transform(same.begin(), same.end(), same.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
  });
  return same;
}

// Directory slots that a name needs at most: a long name's, 13 units each, and the short one.
std::int64_t slotsOf(std::string_view name) {
  const std::size_t units = utf16Of(fatName(name)).value_or(std::u16string()).size();
  return static_cast<std::int64_t>(1 + (units + kUnitsPerSlot - 1) / kUnitsPerSlot);
}

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
  directories_[parent].names.insert(folded(name));
}

std::int64_t FatLedger::clustersOf(std::int64_t bytes) const {
  return (bytes + clusterBytes_ - 1) / clusterBytes_;
}

std::int64_t FatLedger::growth(const Directory& directory, const std::string& name) const {
  return clustersOf((directory.slotCount + slotsOf(name)) * kSlotBytes) -
         clustersOf(directory.slotCount * kSlotBytes);
}

int FatLedger::admit(const std::string& path, std::optional<std::int64_t> size) const {
  const auto [parent, name] = split(path);
  if (const int error = nameError(name); error != 0) {
    return error;
  }
  const auto found = directories_.find(parent);
  if (found == directories_.end()) {
    return ENOENT;
  }
  const Directory& directory = found->second;
  if (directory.names.contains(folded(name))) {
    return EEXIST;
  }
  if (size.value_or(0) > kLargestFile) {
    return EFBIG;
  }
  if (directory.slotCount + slotsOf(name) > kMostSlots ||
      clustersOf(size.value_or(clusterBytes_)) + growth(directory, name) > freeClusters_) {
    return ENOSPC;
  }
  return 0;
}

void FatLedger::add(const std::string& path, std::optional<std::int64_t> size) {
  const auto [parent, name] = split(path);
  Directory& directory = directories_[parent];
  freeClusters_ -= clustersOf(size.value_or(clusterBytes_)) + growth(directory, name);
  directory.slotCount += slotsOf(name);
  directory.names.insert(folded(name));
  if (!size) {
    haveDirectory(path, kDotSlots);
  }
}

}  // namespace fillstation
