#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

#include "DiskSession.h"
#include "FatWriter.h"

namespace fillstation {

// A mounted volume of the bench: a folder with the contents of the image's FAT32, and the writer of
// new files that are not in the image yet. Any thread; lives as long as it is used, even if its
// folder has gone.
class BenchVolume {
 public:
  // Extracts the image's contents to a new folder below `volumes`, named after the label.
  static std::variant<std::shared_ptr<BenchVolume>, Dissenter> mount(int image,
                                                                     const std::string& volumes);

  // Use mount().
  BenchVolume(std::string folder, FatWriter writer);

  // Absolute, without a "/" at the end.
  const std::string& folder() const { return folder_; }

  // Counts its users.
  void opened() { ++openings_; }
  void released() { --openings_; }
  bool isOpen() const { return openings_.load() > 0; }

  // The file system's answer to a new entry with this number of bytes (none for a directory): 0 or
  // an errno.
  int admit(const std::string& path, std::optional<std::int64_t> size);

  // Enters a new entry. Writes to the image when much data is waiting.
  void created(const std::string& path);

  // Writes all new entries to the image, or half of the waiting ones if it is cut short; false if
  // that fails.
  bool flush(bool isCutShort = false);

  // Removes the folder; afterwards nothing is accepted.
  void close();

 private:
  std::mutex lock_;
  const std::string folder_;
  FatWriter writer_;
  bool closed_ = false;
  std::atomic<int> openings_ = 0;
};

}  // namespace fillstation
