#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace fillstation {

// The UTF-16 code units of a UTF-8 text, none when it is not valid UTF-8.
std::optional<std::u16string> utf16Of(std::string_view text);

// The UTF-8 text of UTF-16 code units; a surrogate without its partner becomes a question mark.
std::string utf8Of(std::u16string_view units);

// What the file system calls a name: without the dots at its end.
std::string_view fatName(std::string_view name);

// One file or directory of a FAT32 file system. A plain value.
struct FatEntry {
  std::string name;       // as a person sees it, in UTF-8
  std::string shortName;  // "NAME.EXT", the bytes of the 8.3 name
  bool isDirectory = false;
  std::uint32_t firstCluster = 0;
  std::uint32_t size = 0;                   // bytes, 0 for a directory
  std::vector<std::int64_t> longNameSlots;  // image offsets, those of the name's beginning first
};

// One directory as it stands in the image. A plain value.
struct FatDirectory {
  std::vector<FatEntry> entries;     // in directory order, without "." and ".."
  std::int64_t usedSlots = 0;        // up to where nothing has ever been written
  std::optional<std::string> label;  // the volume's label, in the root directory only
};

// The FAT32 file system of an image file, read as it stands at each call: on the whole disk, or on
// the first partition that has one. Whatever the bytes are, reading is bounded and fails instead of
// running away. Any thread; the descriptor stays the caller's and open.
class FatImage {
 public:
  // None when there is no FAT32.
  static std::optional<FatImage> open(int descriptor);

  // Where the file system begins in the image, bytes.
  std::int64_t offset() const { return start_; }
  // The label of the root directory or else of the boot sector, "NO NAME" when there is none.
  std::string label() const;
  std::int64_t clusterBytes() const { return clusterBytes_; }
  std::uint32_t rootCluster() const { return rootCluster_; }
  std::int64_t freeClusters() const;

  // None when it can't be read to its end.
  std::optional<FatDirectory> list(std::uint32_t firstCluster) const;

  // Writes a file's content to a descriptor; false when it can't be read or written completely.
  bool copyContent(const FatEntry& entry, int target) const;

  // Replaces the long name of an entry by another of as many code units. False when that fails.
  bool rename(const FatEntry& entry, const std::string& name) const;

 private:
  using Bytes = std::vector<std::uint8_t>;

  FatImage(int descriptor, std::int64_t start) : descriptor_(descriptor), start_(start) {}
  bool readBootSector();
  std::int64_t offsetOf(std::uint32_t cluster) const;
  std::optional<std::vector<std::uint32_t>> chain(std::uint32_t first) const;

  int descriptor_;
  std::int64_t start_;
  std::int64_t fatOffset_ = 0;
  std::int64_t dataOffset_ = 0;
  std::int64_t clusterBytes_ = 0;
  std::uint32_t clusters_ = 0;
  std::uint32_t rootCluster_ = 0;
  std::string bootLabel_;
};

}  // namespace fillstation
