#include "FatImage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QString>
#include <algorithm>
#include <array>
#include <cstring>

#include "Utf8.h"

namespace fillstation {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSector = 512;
constexpr std::size_t kSlot = 32;
constexpr std::uint32_t kClusterMask = 0x0FFFFFFF;
constexpr std::uint32_t kEndOfChain = 0x0FFFFFF8;
constexpr std::uint32_t kFewestClusters = 65525;  // below, the file system is not FAT32
// A directory has at most 65,536 slots.
constexpr std::size_t kMostDirectoryBytes = 65536 * kSlot;

constexpr std::uint8_t kDirectory = 0x10;
constexpr std::uint8_t kVolumeLabel = 0x08;
constexpr std::uint8_t kLongName = 0x0F;
constexpr std::uint8_t kDeleted = 0xE5;
constexpr std::array<std::size_t, 13> kLongNameUnits{1, 3, 5, 7, 9, 14, 16, 18, 20, 22, 24, 28, 30};

std::uint16_t word(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

std::uint32_t doubleWord(const std::uint8_t* bytes) {
  return word(bytes) | (static_cast<std::uint32_t>(word(bytes + 2)) << 16);
}

bool readAt(int descriptor, std::int64_t offset, std::uint8_t* into, std::size_t count) {
  return ::pread(descriptor, into, count, offset) == static_cast<ssize_t>(count);
}

// The text of a padded field. Bytes that are not ASCII are replaced, because their code page is not
// known.
std::string fieldText(const std::uint8_t* field, std::size_t length) {
  std::string text;
  for (std::size_t at = 0; at < length; ++at) {
    text += field[at] >= 0x20 && field[at] < 0x7F ? static_cast<char>(field[at]) : '_';
  }
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string joined(const std::string& base, const std::string& extension) {
  return extension.empty() ? base : base + "." + extension;
}

// Collects the slots of one name.
struct SlotReader {
  FatDirectory& directory;
  std::optional<std::u16string> longName;

  void takeLongName(const std::uint8_t* slot) {
    if ((slot[0] & 0x40) != 0 || !longName) {
      longName.emplace();
    }
    std::u16string part;
    for (const std::size_t at : kLongNameUnits) {
      part += static_cast<char16_t>(word(slot + at));
    }
    longName->insert(0, part.substr(0, part.find(u'\0')));
  }

  void takeShortName(const std::uint8_t* slot) {
    const std::string base = fieldText(slot, 8);
    const std::string extension = fieldText(slot + 8, 3);
    if (base != "." && base != "..") {
      FatEntry entry;
      entry.name = longName
                       ? utf8Of(*longName)
                       : joined((slot[12] & 0x08) != 0 ? asciiLowerCase(base) : base,
                                (slot[12] & 0x10) != 0 ? asciiLowerCase(extension) : extension);
      entry.isDirectory = (slot[11] & kDirectory) != 0;
      entry.firstCluster = (static_cast<std::uint32_t>(word(slot + 20)) << 16) | word(slot + 26);
      entry.size = entry.isDirectory ? 0 : doubleWord(slot + 28);
      directory.entries.push_back(std::move(entry));
    }
    longName.reset();
  }

  // False at the slot behind the last.
  bool take(const std::uint8_t* slot) {
    if (slot[0] == 0) {
      return false;
    }
    ++directory.usedSlots;
    if (slot[0] == kDeleted) {
      longName.reset();
    } else if ((slot[11] & 0x3F) == kLongName) {
      takeLongName(slot);
    } else if ((slot[11] & kVolumeLabel) != 0) {
      directory.label = fieldText(slot, 11);
      longName.reset();
    } else {
      takeShortName(slot);
    }
    return true;
  }
};

}  // namespace

std::optional<std::u16string> utf16Of(std::string_view text) {
  const auto points = decodeUtf8(text);
  if (!points) {
    return std::nullopt;
  }
  std::u16string units;
  for (const char32_t point : *points) {
    const auto both = QChar::fromUcs4(point);
    units.append(both.begin(), both.end());
  }
  return units;
}

std::string utf8Of(std::u16string_view units) {
  return QString::fromUtf16(units.data(), static_cast<qsizetype>(units.size())).toStdString();
}

std::optional<FatImage> FatImage::open(int descriptor) {
  FatImage image(descriptor);
  return image.readBootSector() ? std::optional(image) : std::nullopt;
}

bool FatImage::readBootSector() {
  std::array<std::uint8_t, kSector> boot{};
  if (!readAt(descriptor_, 0, boot.data(), kSector) || word(&boot[510]) != 0xAA55 ||
      std::memcmp(&boot[82], "FAT32   ", 8) != 0) {
    return false;
  }
  const std::int64_t sector = word(&boot[11]);
  const std::int64_t sectorsPerCluster = boot[13];
  const std::int64_t fats = boot[16];
  const std::int64_t fatSectors = doubleWord(&boot[36]);
  const std::int64_t sectors = doubleWord(&boot[32]);
  if (sector < 512 || sector > 4096 || sectorsPerCluster == 0 || fats == 0 ||
      word(&boot[48]) >= word(&boot[14])) {
    return false;
  }
  const std::int64_t overhead = word(&boot[14]) + fats * fatSectors;
  const std::int64_t clusters =
      std::min((sectors - overhead) / sectorsPerCluster, fatSectors * sector / 4 - 2);
  if (clusters < kFewestClusters || clusters > kClusterMask) {
    return false;
  }
  layout_ = {.tables = word(&boot[14]) * sector,
             .tableBytes = fatSectors * sector,
             .tableCount = boot[16],
             .info = word(&boot[48]) * sector,
             .data = overhead * sector,
             .clusterBytes = sector * sectorsPerCluster,
             .clusters = static_cast<std::uint32_t>(clusters),
             .rootCluster = doubleWord(&boot[44]) & kClusterMask};
  bootLabel_ = fieldText(&boot[71], 11);
  struct stat status {};
  return ::fstat(descriptor_, &status) == 0 &&
         layout_.data + clusters * layout_.clusterBytes <= status.st_size;
}

std::string FatImage::label() const {
  const auto root = list(layout_.rootCluster);
  const std::string label = root && root->label ? *root->label : bootLabel_;
  return label.empty() ? "NO NAME" : label;
}

std::optional<std::vector<std::uint32_t>> FatImage::chain(std::uint32_t first) const {
  std::vector<std::uint32_t> clusters;
  for (std::uint32_t cluster = first; cluster < kEndOfChain;) {
    std::array<std::uint8_t, 4> next{};
    // Clusters 0 and 1 wrap around. A chain longer than the file system is a loop.
    if (cluster - 2 >= layout_.clusters || clusters.size() == layout_.clusters ||
        !readAt(descriptor_, layout_.tables + std::int64_t{cluster} * 4, next.data(),
                next.size())) {
      return std::nullopt;
    }
    clusters.push_back(cluster);
    cluster = doubleWord(next.data()) & kClusterMask;
  }
  return clusters;
}

std::optional<FatDirectory> FatImage::list(std::uint32_t firstCluster) const {
  const auto clusters = chain(firstCluster);
  if (!clusters ||
      clusters->size() > kMostDirectoryBytes / static_cast<std::size_t>(layout_.clusterBytes)) {
    return std::nullopt;
  }
  FatDirectory directory;
  directory.clusters = *clusters;
  SlotReader reader{directory, {}};
  Bytes bytes(static_cast<std::size_t>(layout_.clusterBytes));
  for (const std::uint32_t cluster : *clusters) {
    if (!readAt(descriptor_, layout_.offsetOf(cluster), bytes.data(), bytes.size())) {
      return std::nullopt;
    }
    for (std::size_t at = 0; at < bytes.size(); at += kSlot) {
      if (!reader.take(&bytes[at])) {
        return directory;
      }
    }
  }
  return directory;
}

bool FatImage::copyContent(const FatEntry& entry, int target) const {
  std::size_t left = entry.size;
  // An empty file has none.
  const auto clusters = chain(entry.firstCluster).value_or(std::vector<std::uint32_t>());
  Bytes bytes(static_cast<std::size_t>(layout_.clusterBytes));
  for (const std::uint32_t cluster : clusters) {
    const std::size_t count = std::min(left, bytes.size());
    if (!readAt(descriptor_, layout_.offsetOf(cluster), bytes.data(), count) ||
        ::write(target, bytes.data(), count) != static_cast<ssize_t>(count)) {
      return false;
    }
    left -= count;
  }
  return left == 0;
}

}  // namespace fillstation
