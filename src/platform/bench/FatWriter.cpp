#include "FatWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string_view>

#include "FatNames.h"
#include "FileHandle.h"

namespace fillstation {

namespace {

constexpr std::int64_t kSlotBytes = 32;
constexpr std::size_t kUnitsPerSlot = 13;
constexpr std::uint32_t kLastInChain = 0x0FFFFFFF;
constexpr std::int64_t kFreeCount = 488;  // within the sector of information

// The bytes of a number, the low one first.
std::string bytesOf(std::uint32_t number, int count = 4) {
  std::string bytes;
  for (int at = 0; at < count; ++at) {
    bytes += static_cast<char>(number >> (8 * at) & 0xFF);
  }
  return bytes;
}

// Time and date of a directory entry.
std::string stampOf(std::time_t when) {
  std::tm at{};
  ::localtime_r(&when, &at);
  const int time = at.tm_hour << 11 | at.tm_min << 5 | at.tm_sec / 2;
  const int date = std::max(at.tm_year - 80, 0) << 9 | (at.tm_mon + 1) << 5 | at.tm_mday;
  return bytesOf(static_cast<std::uint32_t>(time), 2) +
         bytesOf(static_cast<std::uint32_t>(date), 2);
}

// The slot of a short name of 11 bytes.
std::string shortSlot(const std::string& name, const struct stat& status, std::uint32_t cluster) {
  const bool isDirectory = S_ISDIR(status.st_mode);
  return name + (isDirectory ? '\x10' : '\x20') + std::string(8, '\0') + bytesOf(cluster >> 16, 2) +
         stampOf(status.st_mtime) + bytesOf(cluster, 2) +
         bytesOf(isDirectory ? 0 : static_cast<std::uint32_t>(status.st_size));
}

// The slots of a long name for that short one; the name's end comes first.
std::string longSlots(std::string_view name, const std::string& shortName) {
  std::uint8_t sum = 0;
  for (const char letter : shortName) {
    sum = static_cast<std::uint8_t>((sum << 7 | sum >> 1) + static_cast<std::uint8_t>(letter));
  }
  std::u16string units = utf16Of(fatName(name)).value_or(u"");
  const std::size_t count = (units.size() + kUnitsPerSlot - 1) / kUnitsPerSlot;
  units += u'\0';
  units.resize(count * kUnitsPerSlot, u'\xFFFF');
  std::string bytes;
  for (std::size_t part = count; part > 0; --part) {
    std::string text;
    for (const char16_t unit : units.substr((part - 1) * kUnitsPerSlot, kUnitsPerSlot)) {
      text += bytesOf(unit, 2);
    }
    bytes += static_cast<char>(part == count ? part | 0x40 : part);
    bytes += text.substr(0, 10) + std::string("\x0F\0", 2) + static_cast<char>(sum) +
             text.substr(10, 12) + std::string(2, '\0') + text.substr(22);
  }
  return bytes;
}

// Directory slots that a name needs.
std::int64_t slotsOf(const std::string& name) {
  return static_cast<std::int64_t>(longSlots(name, "").size()) / kSlotBytes + 1;
}

bool writeAt(int image, std::int64_t place, const std::string& bytes) {
  return ::pwrite(image, bytes.data(), bytes.size(), place) == static_cast<ssize_t>(bytes.size());
}

}  // namespace

FatWriter::FatWriter(const FatImage& image)
    : image_(image.descriptor()), layout_(image.layout()), isUsed_(layout_.clusters + 2, true) {
  std::vector<std::uint32_t> table(isUsed_.size());
  if (::pread(image_, table.data(), table.size() * 4, layout_.tables) ==
      static_cast<ssize_t>(table.size() * 4)) {
    // The four highest bits are reserved.
    std::transform(table.begin() + 2, table.end(), isUsed_.begin() + 2,
                   [](std::uint32_t next) { return (next & kLastInChain) != 0; });
  }
  free_ = std::count(isUsed_.begin(), isUsed_.end(), false);
}

void FatWriter::haveDirectory(const std::string& path, const FatDirectory& directory) {
  Directory& entered = directories_[path];
  entered.clusters = directory.clusters;
  entered.usedSlots = directory.usedSlots;
  for (const auto& entry : directory.entries) {
    entered.names.insert(fatFolded(entry.name));
  }
}

std::int64_t FatWriter::clustersOf(std::int64_t bytes) const {
  return (bytes + layout_.clusterBytes - 1) / layout_.clusterBytes;
}

std::int64_t FatWriter::growth(const Directory& directory, const std::string& name) const {
  const auto has = static_cast<std::int64_t>(directory.clusters.size());
  return std::max(clustersOf((directory.usedSlots + slotsOf(name)) * kSlotBytes) - has,
                  std::int64_t{0});
}

int FatWriter::admit(const std::string& path, std::optional<std::int64_t> size) const {
  const std::filesystem::path at(path);
  const std::string name = at.filename();
  if (const int error = fatNameError(name); error != 0) {
    return error;
  }
  const auto found = directories_.find(at.parent_path());
  if (found == directories_.end()) {
    return ENOENT;
  }
  const Directory& directory = found->second;
  if (directory.names.contains(fatFolded(name))) {
    return EEXIST;
  }
  if (size > kFatLargestFile) {
    return EFBIG;
  }
  if (directory.usedSlots + slotsOf(name) > kFatMostSlots ||
      clustersOf(size.value_or(layout_.clusterBytes)) + growth(directory, name) > free_) {
    return ENOSPC;
  }
  return 0;
}

void FatWriter::add(const std::string& path, const std::string& source) {
  const std::filesystem::path at(path);
  const std::string name = at.filename();
  Directory& directory = directories_[at.parent_path()];
  Entry& entry = waiting_.emplace_back(Entry{source});
  struct stat status {};
  ::stat(source.c_str(), &status);
  std::uint32_t first = 0;
  if (S_ISDIR(status.st_mode)) {
    Directory& added = directories_[path];
    first = grow(added, entry);
    const std::uint32_t above = at.parent_path().empty() ? 0 : directory.clusters.front();
    addSlots(added, shortSlot(".          ", status, first), entry);
    addSlots(added, shortSlot("..         ", status, above), entry);
  } else {
    entry.size = status.st_size;
    entry.content = take(clustersOf(entry.size), entry);
    first = entry.content.empty() ? 0 : entry.content.front();
    waitingBytes_ += entry.size;
  }
  std::array<char, 12> shortName{};  // no other has its number
  std::snprintf(shortName.data(), shortName.size(), "%08X   ",
                static_cast<unsigned>(directory.usedSlots));
  directory.names.insert(fatFolded(name));
  addSlots(directory,
           longSlots(name, shortName.data()) + shortSlot(shortName.data(), status, first), entry);
  entry.put(layout_.info + kFreeCount, bytesOf(static_cast<std::uint32_t>(free_)));
}

void FatWriter::addSlots(Directory& directory, const std::string& bytes, Entry& entry) {
  for (std::size_t at = 0; at < bytes.size(); at += kSlotBytes) {
    const std::int64_t place = directory.usedSlots++ * kSlotBytes;
    const auto cluster = static_cast<std::size_t>(place / layout_.clusterBytes);
    if (cluster == directory.clusters.size()) {
      grow(directory, entry);
    }
    entry.put(layout_.offsetOf(directory.clusters[cluster]) + place % layout_.clusterBytes,
              bytes.substr(at, kSlotBytes));
  }
}

std::uint32_t FatWriter::grow(Directory& directory, Entry& entry) {
  const std::uint32_t cluster = take(1, entry).front();
  if (!directory.clusters.empty()) {
    link(directory.clusters.back(), cluster, entry);
  }
  directory.clusters.push_back(cluster);
  entry.put(layout_.offsetOf(cluster),
            std::string(static_cast<std::size_t>(layout_.clusterBytes), '\0'));
  return cluster;
}

std::vector<std::uint32_t> FatWriter::take(std::int64_t count, Entry& entry) {
  std::vector<std::uint32_t> taken;
  for (; static_cast<std::int64_t>(taken.size()) < count && next_ < isUsed_.size(); ++next_) {
    if (!isUsed_[next_]) {
      taken.push_back(next_);
    }
  }
  free_ -= static_cast<std::int64_t>(taken.size());
  for (std::size_t at = 0; at < taken.size(); ++at) {
    link(taken[at], at + 1 < taken.size() ? taken[at + 1] : kLastInChain, entry);
  }
  return taken;
}

void FatWriter::link(std::uint32_t cluster, std::uint32_t next, Entry& entry) const {
  for (int table = 0; table < layout_.tableCount; ++table) {
    entry.put(layout_.tables + table * layout_.tableBytes + std::int64_t{cluster} * 4,
              bytesOf(next));
  }
}

bool FatWriter::write(std::size_t count) {
  for (; count > 0; --count) {
    if (!writeEntry(waiting_.front())) {
      return false;
    }
    waitingBytes_ -= waiting_.front().size;
    waiting_.pop_front();
  }
  return ::fsync(image_) == 0;
}

bool FatWriter::writeEntry(const Entry& entry) const {
  const FileHandle source(::open(entry.source.c_str(), O_RDONLY | O_CLOEXEC));
  std::int64_t left = entry.size;
  for (const std::uint32_t cluster : entry.content) {
    std::string bytes(static_cast<std::size_t>(std::min(left, layout_.clusterBytes)), '\0');
    if (::read(source.get(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        !writeAt(image_, layout_.offsetOf(cluster), bytes)) {
      return false;
    }
    left -= layout_.clusterBytes;
  }
  return source && left <= 0 &&
         std::all_of(entry.pieces.begin(), entry.pieces.end(), [this](const auto& piece) {
           return writeAt(image_, piece.first, piece.second);
         });
}

}  // namespace fillstation
