#include "Audio.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace fillstation::explore {

namespace {

constexpr std::int64_t kFolder = -1;

// Path and size, in the order of the walks.
const std::vector<std::pair<std::string, std::int64_t>>& everything() {
  static const std::vector<std::pair<std::string, std::int64_t>> all{
      {"/audio/Book", kFolder},        {"/audio/Book/1.mp3", 1000},
      {"/audio/Book/Part 2", kFolder}, {"/audio/Book/Part 2/1.mp3", 70'000'000},
      {"/audio/Book/Part 2/2.txt", 5}, {"/audio/Book/note.txt", 77},
      {"/audio/Empty", kFolder},       {"/audio/Other", kFolder},
      {"/audio/Other/2.mp3", 0},       {"/audio/Other/3%20x.MP3", 3'000'000'000},
      {"/audio/Same", kFolder},        {"/audio/Same/1.mp3", 12345},
      {"/audio/single.mp3", 500},      {"/audio/single.txt", 600},
  };
  return all;
}

std::string extensionOf(const std::string& path) {
  std::string extension = path.substr(path.rfind('.') + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return extension;
}

std::optional<std::int64_t> sizeOf(const std::string& path) {
  const auto& all = everything();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const auto& entry) { return entry.first == path; });
  return found != all.end() ? std::optional(found->second) : std::nullopt;
}

class MemoryWalk : public DirectoryWalk {
 public:
  explicit MemoryWalk(const std::string& folder) {
    for (const auto& [path, size] : everything()) {
      if (path.starts_with(folder + "/")) {
        const bool isFolder = size == kFolder;
        left_.push_back({path, isFolder, isFolder ? std::nullopt : std::optional(size)});
      }
    }
  }
  std::optional<WalkEntry> next() override {
    if (left_.empty()) {
      return std::nullopt;
    }
    WalkEntry entry = std::move(left_.front());
    left_.pop_front();
    return entry;
  }

 private:
  std::deque<WalkEntry> left_;
};

}  // namespace

const std::vector<std::string>& Audio::choices() {
  static const std::vector<std::string> all{"/audio/Book",       "/audio/Empty",
                                            "/audio/Other",      "/audio/Same",
                                            "/audio/single.mp3", "/audio/single.txt"};
  return all;
}

std::optional<Root> Audio::rootOf(const std::string& path, const std::string& fileType) {
  Root root{path, path.substr(path.rfind('/') + 1), 0, sizeOf(path) == kFolder, {}};
  if (!root.isFolder) {
    root.size = sizeOf(path).value_or(0);
    return extensionOf(path) == fileType ? std::optional(root) : std::nullopt;
  }
  for (const auto& [below, size] : everything()) {
    if (!below.starts_with(path + "/")) {
      continue;
    }
    const std::string relative = below.substr(path.size() + 1);
    if (size == kFolder) {
      root.content[relative] = "";
    } else if (extensionOf(below) == fileType) {
      root.content[relative] = below;
      root.size += size;
    }
  }
  return root;
}

bool Audio::fileExists(const std::string& path, bool* isDirectory) {
  const auto size = sizeOf(path);
  if (isDirectory != nullptr) {
    *isDirectory = size == kFolder;
  }
  return size.has_value();
}

std::optional<std::int64_t> Audio::fileSize(const std::string& path) { return sizeOf(path); }

std::unique_ptr<DirectoryWalk> Audio::walk(const std::string& folder,
                                           WalkErrorHandler /*onError*/) {
  return std::make_unique<MemoryWalk>(folder);
}

std::shared_ptr<Volume> Audio::openVolume(const std::string& /*mountPath*/,
                                          const DiskIdentity& /*owner*/) {
  return nullptr;
}

}  // namespace fillstation::explore
