#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace fillstation {

// What a FAT volume would still take: a careful account of its names, directory slots and clusters,
// so that nothing is promised that the image can't hold. Relative paths are below the root ("" is
// the root), without a "/" at either end. One thread at a time.
class FatLedger {
 public:
  FatLedger() = default;
  FatLedger(std::int64_t clusterBytes, std::int64_t freeClusters)
      : clusterBytes_(clusterBytes), freeClusters_(freeClusters) {}

  // Enters a directory that is on the volume already, and one of the names in it.
  void haveDirectory(const std::string& path, std::int64_t usedSlots);
  void haveName(const std::string& path);

  // 0 when a new entry would fit, or the errno of its creation; bytes, none for a directory.
  int admit(const std::string& path, std::optional<std::int64_t> size) const;

  // Enters what was created.
  void add(const std::string& path, std::optional<std::int64_t> size);

 private:
  struct Directory {
    std::int64_t slotCount = 0;
    std::set<std::string> names;  // folded
  };

  std::int64_t clustersOf(std::int64_t bytes) const;
  // Clusters by which a directory grows for a name.
  std::int64_t growth(const Directory& directory, const std::string& name) const;

  std::int64_t clusterBytes_ = 1;
  std::int64_t freeClusters_ = 0;
  std::map<std::string, Directory> directories_;
};

}  // namespace fillstation
