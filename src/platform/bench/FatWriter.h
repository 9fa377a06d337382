#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "FatImage.h"

namespace fillstation {

// Fills the FAT32 of an image. A new entry gets its clusters and its place in the directory at
// once, so that more than the image can hold is refused. It reaches the image when it is written,
// in the order of adding, which is also the order of the directories. Relative paths are below the
// root ("" is the root), without a "/" at either end. One thread at a time; the image's descriptor
// stays the caller's.
class FatWriter {
 public:
  explicit FatWriter(const FatImage& image);

  // Enters a directory that is already on the volume, with its contents.
  void haveDirectory(const std::string& path, const FatDirectory& directory);

  // 0 if a new entry would fit, otherwise the errno of creating it; bytes, none for a directory.
  int admit(const std::string& path, std::optional<std::int64_t> size) const;

  // Adds an entry that admit() accepted: the directory or file at `source`, which is read when
  // it is written. Its parent was added before.
  void add(const std::string& path, const std::string& source);

  // The number of entries, and the bytes of files, that are added and not written yet.
  std::size_t waiting() const { return waiting_.size(); }
  std::int64_t waitingBytes() const { return waitingBytes_; }

  // Writes this number of entries. False at the first failure: that entry and all after it keep
  // waiting. If it returns true, all written entries are on the disk.
  bool write(std::size_t count);

 private:
  struct Directory {
    std::vector<std::uint32_t> clusters;
    std::int64_t usedSlots = 0;
    std::set<std::string> names;  // folded
  };
  // The data of one entry: a file's content, then bytes at places of the image.
  struct Entry {
    std::string source;
    std::int64_t size = 0;
    std::vector<std::uint32_t> content = {};  // clusters
    std::vector<std::pair<std::int64_t, std::string>> pieces = {};

    void put(std::int64_t place, const std::string& bytes) { pieces.emplace_back(place, bytes); }
  };

  std::int64_t clustersOf(std::int64_t bytes) const;
  // The clusters by which a directory grows for a name.
  std::int64_t growth(const Directory& directory, const std::string& name) const;
  void addSlots(Directory& directory, const std::string& bytes, Entry& entry);
  // Gives the directory an empty cluster more.
  std::uint32_t grow(Directory& directory, Entry& entry);
  // A chain of free clusters.
  std::vector<std::uint32_t> take(std::int64_t count, Entry& entry);
  void link(std::uint32_t cluster, std::uint32_t next, Entry& entry) const;
  bool writeEntry(const Entry& entry) const;

  const int image_;
  const FatLayout layout_;
  std::vector<bool> isUsed_;  // by the cluster's number
  std::int64_t free_ = 0;     // clusters
  std::uint32_t next_ = 2;    // no cluster before it is free
  std::map<std::string, Directory> directories_;
  std::deque<Entry> waiting_;
  std::int64_t waitingBytes_ = 0;
};

}  // namespace fillstation
