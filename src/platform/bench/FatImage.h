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

// One file or directory of a FAT32 file system. A plain value.
struct FatEntry {
  std::string name;  // as a person sees it, in UTF-8
  bool isDirectory = false;
  std::uint32_t firstCluster = 0;
  std::uint32_t size = 0;  // bytes, 0 for a directory
};

// One directory of the image. A plain value.
struct FatDirectory {
  std::vector<FatEntry> entries;        // in directory order, without "." and ".."
  std::vector<std::uint32_t> clusters;  // of the directory
  std::int64_t usedSlots = 0;           // up to where nothing has ever been written
  std::optional<std::string> label;     // the volume's label, in the root directory only
};

// Where the parts of a FAT32 file system are: bytes from the image's beginning, and sizes in bytes.
// A plain value.
struct FatLayout {
  std::int64_t tables;  // one behind the other
  std::int64_t tableBytes;
  int tableCount;
  std::int64_t info;  // the sector with the number of free clusters
  std::int64_t data;  // the first cluster, which has the number 2
  std::int64_t clusterBytes;
  std::uint32_t clusters;
  std::uint32_t rootCluster;

  std::int64_t offsetOf(std::uint32_t cluster) const {
    return data + (static_cast<std::int64_t>(cluster) - 2) * clusterBytes;
  }
};

// The FAT32 file system of an image file, which begins at the image's first byte; read again at
// each call. With any bytes, reading is bounded and fails in the worst case. Any thread; the
// descriptor stays open and belongs to the caller.
class FatImage {
 public:
  // None when there is no FAT32.
  static std::optional<FatImage> open(int descriptor);

  int descriptor() const { return descriptor_; }
  const FatLayout& layout() const { return layout_; }
  // The label of the root directory or else of the boot sector, "NO NAME" when there is none.
  std::string label() const;

  // None when it can't be read to its end.
  std::optional<FatDirectory> list(std::uint32_t firstCluster) const;

  // Writes a file's content to a descriptor; false when it can't be read or written completely.
  bool copyContent(const FatEntry& entry, int target) const;

 private:
  explicit FatImage(int descriptor) : descriptor_(descriptor) {}
  bool readBootSector();
  std::optional<std::vector<std::uint32_t>> chain(std::uint32_t first) const;

  int descriptor_;
  FatLayout layout_{};
  std::string bootLabel_;
};

}  // namespace fillstation
