#include "FatImage.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QString>
#include <QStringDecoder>
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace fillstation {

namespace {

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

// The text of a padded field; what is not ASCII is replaced, for its code page is not known.
std::string fieldText(const std::uint8_t* field, std::size_t length) {
  std::string text;
  for (std::size_t at = 0; at < length; ++at) {
    text += field[at] >= 0x20 && field[at] < 0x7F ? static_cast<char>(field[at]) : '_';
  }
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string lowered(std::string text, bool lower) {
  if (lower) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
      return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
  }
  return text;
}

std::string joined(const std::string& base, const std::string& extension) {
  return extension.empty() ? base : base + "." + extension;
}

// Collects the slots of one name.
struct SlotReader {
  FatDirectory& directory;
  std::u16string longName;
  std::vector<std::int64_t> longNameSlots;

  void takeLongName(const std::uint8_t* slot, std::int64_t offset) {
    if ((slot[0] & 0x40) != 0) {
      forgetLongName();
    }
    std::u16string part;
    for (const std::size_t at : kLongNameUnits) {
      part += static_cast<char16_t>(word(slot + at));
    }
    longName.insert(0, part.substr(0, part.find(u'\0')));
    longNameSlots.push_back(offset);
  }

  void takeShortName(const std::uint8_t* slot) {
    const std::string base = fieldText(slot, 8);
    const std::string extension = fieldText(slot + 8, 3);
    if (base != "." && base != "..") {
      FatEntry entry;
      entry.shortName = joined(base, extension);
      entry.name = longNameSlots.empty() ? joined(lowered(base, (slot[12] & 0x08) != 0),
                                                  lowered(extension, (slot[12] & 0x10) != 0))
                                         : utf8Of(longName);
      entry.isDirectory = (slot[11] & kDirectory) != 0;
      entry.firstCluster = (static_cast<std::uint32_t>(word(slot + 20)) << 16) | word(slot + 26);
      entry.size = entry.isDirectory ? 0 : doubleWord(slot + 28);
      entry.longNameSlots.assign(longNameSlots.rbegin(), longNameSlots.rend());
      directory.entries.push_back(std::move(entry));
    }
    forgetLongName();
  }

  void forgetLongName() {
    longName.clear();
    longNameSlots.clear();
  }

  // False at the slot behind the last.
  bool take(const std::uint8_t* slot, std::int64_t offset) {
    if (slot[0] == 0) {
      return false;
    }
    ++directory.usedSlots;
    if (slot[0] == kDeleted) {
      forgetLongName();
    } else if ((slot[11] & 0x3F) == kLongName) {
      takeLongName(slot, offset);
    } else if ((slot[11] & kVolumeLabel) != 0) {
      directory.label = fieldText(slot, 11);
      forgetLongName();
    } else {
      takeShortName(slot);
    }
    return true;
  }
};

}  // namespace

std::optional<std::u16string> utf16Of(std::string_view text) {
  QStringDecoder decoder(QStringDecoder::Utf8,
                         QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
  const QString decoded = decoder(QByteArrayView(text.data(), static_cast<qsizetype>(text.size())));
  if (decoder.hasError()) {
    return std::nullopt;
  }
  return decoded.toStdU16String();
}

std::string utf8Of(std::u16string_view units) {
  return QString::fromUtf16(units.data(), static_cast<qsizetype>(units.size())).toStdString();
}

std::string_view fatName(std::string_view name) {
  return name.substr(0, name.find_last_not_of('.') + 1);
}

std::optional<FatImage> FatImage::open(int descriptor) {
  FatImage whole(descriptor, 0);
  if (whole.readBootSector()) {
    return whole;
  }
  std::array<std::uint8_t, kSector> table{};
  if (!readAt(descriptor, 0, table.data(), kSector) || word(&table[510]) != 0xAA55) {
    return std::nullopt;
  }
  for (std::size_t partition = 0; partition < 4; ++partition) {
    const std::int64_t first = doubleWord(&table[446 + 16 * partition + 8]);
    FatImage image(descriptor, first * static_cast<std::int64_t>(kSector));
    if (first != 0 && image.readBootSector()) {
      return image;
    }
  }
  return std::nullopt;
}

bool FatImage::readBootSector() {
  std::array<std::uint8_t, kSector> boot{};
  if (!readAt(descriptor_, start_, boot.data(), kSector) || word(&boot[510]) != 0xAA55 ||
      std::memcmp(&boot[82], "FAT32   ", 8) != 0) {
    return false;
  }
  const std::int64_t sector = word(&boot[11]);
  const std::int64_t sectorsPerCluster = boot[13];
  const std::int64_t fats = boot[16];
  const std::int64_t fatSectors = doubleWord(&boot[36]);
  const std::int64_t sectors = doubleWord(&boot[32]);
  if (sector < 512 || sector > 4096 || sectorsPerCluster == 0 || fats == 0) {
    return false;
  }
  const std::int64_t overhead = word(&boot[14]) + fats * fatSectors;
  const std::int64_t clusters =
      std::min((sectors - overhead) / sectorsPerCluster, fatSectors * sector / 4 - 2);
  if (clusters < kFewestClusters || clusters > kClusterMask) {
    return false;
  }
  clusters_ = static_cast<std::uint32_t>(clusters);
  clusterBytes_ = sector * sectorsPerCluster;
  fatOffset_ = start_ + word(&boot[14]) * sector;
  dataOffset_ = start_ + overhead * sector;
  struct stat status {};
  if (::fstat(descriptor_, &status) != 0 ||
      dataOffset_ + clusters * clusterBytes_ > status.st_size) {
    return false;
  }
  rootCluster_ = doubleWord(&boot[44]) & kClusterMask;
  bootLabel_ = fieldText(&boot[71], 11);
  return true;
}

std::string FatImage::label() const {
  const auto root = list(rootCluster_);
  const std::string label = root && root->label ? *root->label : bootLabel_;
  return label.empty() ? "NO NAME" : label;
}

std::int64_t FatImage::offsetOf(std::uint32_t cluster) const {
  return dataOffset_ + (static_cast<std::int64_t>(cluster) - 2) * clusterBytes_;
}

std::optional<std::vector<std::uint32_t>> FatImage::chain(std::uint32_t first) const {
  std::vector<std::uint32_t> clusters;
  for (std::uint32_t cluster = first; cluster < kEndOfChain;) {
    std::array<std::uint8_t, 4> next{};
    // A chain longer than the file system runs in a circle.
    if (cluster < 2 || cluster - 2 >= clusters_ || clusters.size() == clusters_ ||
        !readAt(descriptor_, fatOffset_ + std::int64_t{cluster} * 4, next.data(), next.size())) {
      return std::nullopt;
    }
    clusters.push_back(cluster);
    cluster = doubleWord(next.data()) & kClusterMask;
  }
  return clusters;
}

std::int64_t FatImage::freeClusters() const {
  Bytes table((static_cast<std::size_t>(clusters_) + 2) * 4);
  if (!readAt(descriptor_, fatOffset_, table.data(), table.size())) {
    return 0;
  }
  std::int64_t free = 0;
  for (std::size_t at = 8; at < table.size(); at += 4) {
    free += (doubleWord(&table[at]) & kClusterMask) == 0 ? 1 : 0;
  }
  return free;
}

std::optional<FatDirectory> FatImage::list(std::uint32_t firstCluster) const {
  FatDirectory directory;
  SlotReader reader{directory, {}, {}};
  const auto clusters = chain(firstCluster);
  if (!clusters ||
      clusters->size() > kMostDirectoryBytes / static_cast<std::size_t>(clusterBytes_)) {
    return std::nullopt;
  }
  Bytes bytes(static_cast<std::size_t>(clusterBytes_));
  for (const std::uint32_t cluster : *clusters) {
    if (!readAt(descriptor_, offsetOf(cluster), bytes.data(), bytes.size())) {
      return std::nullopt;
    }
    for (std::size_t at = 0; at < bytes.size(); at += kSlot) {
      if (!reader.take(&bytes[at], offsetOf(cluster) + static_cast<std::int64_t>(at))) {
        return directory;
      }
    }
  }
  return directory;
}

bool FatImage::copyContent(const FatEntry& entry, int target) const {
  std::size_t left = entry.size;
  // An empty file has no cluster.
  const auto clusters = left == 0 ? std::vector<std::uint32_t>() : chain(entry.firstCluster);
  if (!clusters) {
    return false;
  }
  Bytes bytes(static_cast<std::size_t>(clusterBytes_));
  for (const std::uint32_t cluster : *clusters) {
    const std::size_t count = std::min(left, bytes.size());
    if (!readAt(descriptor_, offsetOf(cluster), bytes.data(), count) ||
        ::write(target, bytes.data(), count) != static_cast<ssize_t>(count)) {
      return false;
    }
    left -= count;
  }
  return left == 0;
}

bool FatImage::rename(const FatEntry& entry, const std::string& name) const {
  const std::u16string units = utf16Of(name).value_or(u"");
  if (units.size() != utf16Of(entry.name).value_or(u"").size() || entry.longNameSlots.empty()) {
    return false;
  }
  for (std::size_t at = 0; at < units.size(); ++at) {
    const std::int64_t unit = entry.longNameSlots[at / kLongNameUnits.size()] +
                              static_cast<std::int64_t>(kLongNameUnits[at % kLongNameUnits.size()]);
    const std::array<std::uint8_t, 2> bytes{static_cast<std::uint8_t>(units[at] & 0xFF),
                                            static_cast<std::uint8_t>(units[at] >> 8)};
    if (::pwrite(descriptor_, bytes.data(), bytes.size(), unit) != 2) {
      return false;
    }
  }
  return true;
}

}  // namespace fillstation
