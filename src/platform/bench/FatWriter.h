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

// Fills the FAT32 of an image. What is added has its clusters and its place in the directory at
// once, so that nothing is admitted that the image can't hold; it is in the image once it has been
// written, in the order in which it was added, which is the directories' order too. Relative paths
// are below the root ("" is the root), without a "/" at either end. One thread at a time; the
// image's descriptor stays the caller's.
class FatWriter {
 public:
  explicit FatWriter(const FatImage& image);

  // Enters a directory that is on the volume already, with what it holds.
  void haveDirectory(const std::string& path, const FatDirectory& directory);

  // 0 when a new entry would fit, or the errno of its creation; bytes, none for a directory.
  int admit(const std::string& path, std::optional<std::int64_t> size) const;

  // Adds what has been admitted: the directory or file at `source`, which is read when it is
  // written. Its parent has been added before.
  void add(const std::string& path, const std::string& source);

  // How many entries, and bytes of files, have been added and not yet written.
  std::size_t waiting() const { return waiting_.size(); }
  std::int64_t waitingBytes() const { return waitingBytes_; }

  // Writes so many of them. False at the first that fails: it waits still, and so do all behind it.
  // Once it has returned true everything that was written is on the disk beneath.
  bool write(std::size_t count);

 private:
  struct Directory {
    std::vector<std::uint32_t> clusters;
    std::int64_t usedSlots = 0;
    std::set<std::string> names;  // folded
  };
  // What is to be written of one entry: a file's content, and then bytes at places of the image.
  struct Entry {
    std::string source;
    std::int64_t size = 0;
    std::vector<std::uint32_t> content = {};  // clusters
    std::vector<std::pair<std::int64_t, std::string>> pieces = {};

    void put(std::int64_t place, const std::string& bytes) { pieces.emplace_back(place, bytes); }
  };

  std::int64_t clustersOf(std::int64_t bytes) const;
  // Clusters by which a directory grows for a name.
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
