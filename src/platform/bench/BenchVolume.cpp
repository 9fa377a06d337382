#include "BenchVolume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <set>
#include <utility>

#include "FileHandle.h"

namespace fillstation {

namespace {

// The most data that a player may lack during a copy.
constexpr std::int64_t kMostUnwritten = std::int64_t{16} << 20;

// A new folder for a label, with a number if the name is taken; empty if none can be made.
std::string makeFolder(const std::string& volumes, std::string label) {
  std::error_code ignored;
  std::filesystem::create_directories(volumes, ignored);
  std::replace(label.begin(), label.end(), '/', '_');
  if (label.front() == '.') {
    label.front() = '_';
  }
  const std::string first = volumes + "/" + label;
  std::string folder = first;
  for (int number = 1;; ++number) {
    if (::mkdir(folder.c_str(), 0755) == 0) {
      return folder;
    }
    if (errno != EEXIST) {
      return {};
    }
    folder = first + std::to_string(number);
  }
}

// Copies the contents of the image to a folder, and enters them into the writer.
class Extraction {
 public:
  Extraction(const FatImage& image, std::string folder, FatWriter& writer)
      : image_(image), folder_(std::move(folder)), writer_(writer) {}

  // False if the file system is damaged or the folder can't be written.
  bool extract(const std::string& path, std::uint32_t cluster) {
    const auto directory = image_.list(cluster);
    // A directory that is found a second time is part of a loop.
    if (!directory || !seen_.insert(cluster).second) {
      return false;
    }
    writer_.haveDirectory(path, *directory);
    return std::all_of(directory->entries.begin(), directory->entries.end(),
                       [&](const FatEntry& entry) { return extractEntry(path, entry); });
  }

 private:
  bool extractEntry(const std::string& parent, const FatEntry& entry) {
    const std::string& name = entry.name;
    // Any other name that is none, like "..", is there already.
    if (name.find('/') != std::string::npos) {
      return false;
    }
    const std::string path = parent.empty() ? name : parent + "/" + name;
    const std::string target = folder_ + "/" + path;
    if (entry.isDirectory) {
      return ::mkdir(target.c_str(), 0755) == 0 && extract(path, entry.firstCluster);
    }
    const FileHandle file(::open(target.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    return file && image_.copyContent(entry, file.get());
  }

  const FatImage& image_;
  const std::string folder_;
  FatWriter& writer_;
  std::set<std::uint32_t> seen_;
};

void removeFolder(const std::string& folder) {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

}  // namespace

std::variant<std::shared_ptr<BenchVolume>, Dissenter> BenchVolume::mount(
    int image, const std::string& volumes) {
  const auto fat = FatImage::open(image);
  if (!fat) {
    return Dissenter{"There is no FAT32 file system."};
  }
  const std::string folder = makeFolder(volumes, fat->label());
  if (folder.empty()) {
    return Dissenter{"No folder can be made in " + volumes + "."};
  }
  FatWriter writer(*fat);
  if (!Extraction(*fat, folder, writer).extract("", fat->layout().rootCluster)) {
    removeFolder(folder);
    return Dissenter{"The file system can't be read."};
  }
  return std::make_shared<BenchVolume>(folder, std::move(writer));
}

BenchVolume::BenchVolume(std::string folder, FatWriter writer)
    : folder_(std::move(folder)), writer_(std::move(writer)) {}

int BenchVolume::admit(const std::string& path, std::optional<std::int64_t> size) {
  const std::scoped_lock guard(lock_);
  return closed_ ? ENODEV : writer_.admit(path, size);
}

void BenchVolume::created(const std::string& path) {
  const std::scoped_lock guard(lock_);
  writer_.add(path, folder_ + "/" + path);
  if (!closed_ && writer_.waitingBytes() > kMostUnwritten) {
    writer_.write(writer_.waiting());
  }
}

bool BenchVolume::flush(bool isCutShort) {
  const std::scoped_lock guard(lock_);
  return !closed_ && writer_.write(isCutShort ? writer_.waiting() / 2 : writer_.waiting());
}

void BenchVolume::close() {
  const std::scoped_lock guard(lock_);
  closed_ = true;
  removeFolder(folder_);
}

}  // namespace fillstation
