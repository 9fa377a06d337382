#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "FileManager.h"

namespace fillstation::test {

// One step of a scripted walk: an entry, or a path that can't be read.
struct WalkError {
  std::string path;
};
using WalkStep = std::variant<WalkEntry, WalkError>;

inline WalkStep folderStep(const std::string& path) { return WalkEntry{path, true, std::nullopt}; }
inline WalkStep fileStep(const std::string& path, std::optional<std::int64_t> size) {
  return WalkEntry{path, false, size};
}

// A file system by hand: what exists, and what each walk yields, in the order that the test says.
// Workers may ask what exists and open volumes.
class TestFileManager : public FileManager {
 public:
  bool fileExists(const std::string& path, bool* isDirectory) override {
    note("exists " + path);
    const bool isFolder = folders.contains(path);
    if (isDirectory != nullptr) {
      *isDirectory = isFolder;
    }
    return isFolder || files.contains(path);
  }
  std::optional<std::int64_t> fileSize(const std::string& path) override {
    note("size " + path);
    const auto found = files.find(path);
    return found == files.end() ? std::nullopt : found->second;
  }
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder,
                                      WalkErrorHandler onError) override {
    note("walk " + folder);
    return std::make_unique<Walk>(folders[folder], std::move(onError), errorAnswers);
  }
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override {
    note("open " + mountPath);
    return open ? open(mountPath, owner) : nullptr;
  }

  // Adds a folder with the steps of its walk.
  void addFolder(const std::string& path, std::vector<WalkStep> steps = {}) {
    folders[path] = std::move(steps);
  }
  // Adds a file; without a size it exists, but the size can't be read.
  void addFile(const std::string& path, std::optional<std::int64_t> size) { files[path] = size; }

  std::map<std::string, std::vector<WalkStep>> folders;
  std::map<std::string, std::optional<std::int64_t>> files;
  // "exists /a", "size /a", "walk /a", "open /a", in order.
  std::vector<std::string> calls;
  // What the error handlers answered.
  std::vector<bool> errorAnswers;
  // Null volumes by default.
  std::function<std::shared_ptr<Volume>(const std::string&, const DiskIdentity&)> open;

 private:
  class Walk : public DirectoryWalk {
   public:
    Walk(const std::vector<WalkStep>& steps, WalkErrorHandler onError, std::vector<bool>& answers)
        : steps_(steps.begin(), steps.end()), onError_(std::move(onError)), answers_(answers) {}

    std::optional<WalkEntry> next() override {
      while (!steps_.empty()) {
        const WalkStep step = std::move(steps_.front());
        steps_.pop_front();
        if (const auto* entry = std::get_if<WalkEntry>(&step)) {
          return *entry;
        }
        answers_.push_back(onError_(std::get<WalkError>(step).path));
        if (!answers_.back()) {
          steps_.clear();
        }
      }
      return std::nullopt;
    }

   private:
    std::deque<WalkStep> steps_;
    WalkErrorHandler onError_;
    std::vector<bool>& answers_;
  };

  void note(const std::string& call) {
    const std::scoped_lock guard(lock_);
    calls.push_back(call);
  }

  std::mutex lock_;
};

}  // namespace fillstation::test
