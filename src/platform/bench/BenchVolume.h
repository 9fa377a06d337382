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

// A mounted volume of the bench: a folder that shows what the image's FAT32 holds, and the writer
// of what is created in it and not yet in the image. Any thread; lives as long as somebody uses it,
// also when its folder has gone.
class BenchVolume {
 public:
  // Extracts the image's content into a new folder below `volumes`, which is named after the label.
  static std::variant<std::shared_ptr<BenchVolume>, Dissenter> mount(int image,
                                                                     const std::string& volumes);

  // Use mount().
  BenchVolume(std::string folder, FatWriter writer);

  // Absolute, without a "/" at the end.
  const std::string& folder() const { return folder_; }

  // Counts those that have it open.
  void opened() { ++openings_; }
  void released() { --openings_; }
  bool isOpen() const { return openings_.load() > 0; }

  // What the file system says to a new entry of so many bytes, none for a directory: 0 or an errno.
  int admit(const std::string& path, std::optional<std::int64_t> size);

  // Enters what has been created. Writes to the image as soon as there is a lot to write.
  void created(const std::string& path);

  // Writes everything that has been created into the image, or half of what waits when it is cut
  // short; false when that fails.
  bool flush(bool isCutShort = false);

  // Removes the folder; nothing is admitted afterwards.
  void close();

 private:
  std::mutex lock_;
  const std::string folder_;
  FatWriter writer_;
  bool closed_ = false;
  std::atomic<int> openings_ = 0;
};

}  // namespace fillstation
