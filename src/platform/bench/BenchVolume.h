#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "DiskSession.h"
#include "FatImage.h"
#include "FatLedger.h"
#include "ImageWriter.h"

namespace fillstation {

// A mounted volume of the bench: a folder that shows what the image's FAT32 holds, and the account
// of what is created in it and not yet in the image. Any thread; lives as long as somebody uses it,
// also when its folder has gone.
class BenchVolume {
 public:
  // Extracts the image's content into a new folder below `volumes`, which is named after the label.
  static std::variant<std::shared_ptr<BenchVolume>, Dissenter> mount(int image,
                                                                     const std::string& volumes);

  // Use mount().
  BenchVolume(int image, std::string folder, FatLedger ledger);

  // Absolute, without a "/" at the end.
  const std::string& folder() const { return folder_; }

  // Counts those that have it open.
  void opened() { ++openings_; }
  void released() { --openings_; }
  bool isOpen() const { return openings_.load() > 0; }

  // What the file system says to a new entry of so many bytes, none for a directory: 0 or an errno.
  int admit(const std::string& path, std::optional<std::int64_t> size);

  // Enters what has been created. Writes to the image as soon as there is a lot to write.
  void created(const std::string& path, bool isDirectory);

  // Writes everything that has been created into the image, or half of what waits when it is cut
  // short; false when that fails, and then always.
  bool flush(bool isCutShort = false);

  // Removes the folder; nothing is admitted afterwards.
  void close();

 private:
  bool flushLocked();

  std::mutex lock_;
  const std::string folder_;
  FatLedger ledger_;
  ImageWriter writer_;
  std::vector<NewEntry> unwritten_;
  std::int64_t unwrittenBytes_ = 0;
  bool closed_ = false;
  std::atomic<int> openings_ = 0;
};

}  // namespace fillstation
