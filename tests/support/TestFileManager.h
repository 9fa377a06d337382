#pragma once

#include <atomic>
#include <cerrno>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "FileManager.h"

namespace fillstation::test {

// The list, which outlives the result, as a volume takes it.
inline CopiedItems itemsOf(const std::vector<CopiedItem>& list) {
  return [&list](const auto& visitor) {
    for (auto item = list.begin(); item != list.end() && visitor(*item);) {
      ++item;
    }
  };
}

// Reads through another file manager, which outlives this one; derived classes define the players'
// volumes.
class RealSourceFiles : public FileManager {
 public:
  explicit RealSourceFiles(FileManager& real) : real_(real) {}

  bool fileExists(const std::string& path, bool* isDirectory) override {
    return real_.fileExists(path, isDirectory);
  }
  std::optional<std::int64_t> fileSize(const std::string& path) override {
    return real_.fileSize(path);
  }
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder,
                                      WalkErrorHandler onError) override {
    return real_.walk(folder, std::move(onError));
  }

 protected:
  FileManager& real() { return real_; }

 private:
  FileManager& real_;
};

// One step of a scripted walk: an entry, or a path that can't be read.
struct WalkError {
  std::string path;
};
using WalkStep = std::variant<WalkEntry, WalkError>;

inline WalkStep folderStep(const std::string& path) { return WalkEntry{path, true, std::nullopt}; }
inline WalkStep fileStep(const std::string& path, std::optional<std::int64_t> size) {
  return WalkEntry{path, false, size};
}

// A fake file system: the test sets which files exist, and the entries of each walk in their order;
// volumes keep no content. Set up before the workers use it.
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
    note("open " + mountPath + " of " + owner.node + " " + std::to_string(owner.usbHandle));
    return open ? open(mountPath, owner) : std::make_shared<TestVolume>(*this);
  }

  // Adds a folder with the steps of its walk.
  void addFolder(const std::string& path, std::vector<WalkStep> steps = {}) {
    folders[path] = std::move(steps);
  }
  // Adds a file; without a size it exists, but the size can't be read.
  void addFile(const std::string& path, std::optional<std::int64_t> size) { files[path] = size; }

  std::map<std::string, std::vector<WalkStep>> folders;
  std::map<std::string, std::optional<std::int64_t>> files;
  // "exists /a", "size /a", "walk /a", "open /a of /dev/sdb 7", and of a volume "mkdir /b",
  // "copy /a -> /b", "flush" and "read back", in order.
  std::vector<std::string> calls;
  // Also called for each of them, on the thread that makes it.
  std::function<void(const std::string&)> onRequest;
  // The results of the error handlers.
  std::vector<bool> errorAnswers;
  // Opens another kind of volume instead of the recording ones.
  std::function<std::shared_ptr<Volume>(const std::string&, const DiskIdentity&)> open;
  // The requests to a volume that fail, and the receiver of the read-back.
  std::set<std::string> failing;
  std::function<void(const CopiedItems&)> onReadBack;
  std::atomic<int> openVolumes{0};

 private:
  class TestVolume : public Volume {
   public:
    explicit TestVolume(TestFileManager& files) : files_(files) { ++files_.openVolumes; }
    ~TestVolume() override { --files_.openVolumes; }

    bool createDirectory(const std::string& destination) override {
      return answer("mkdir " + destination);
    }
    bool copyItem(const std::string& source, const std::string& destination) override {
      return answer("copy " + source + " -> " + destination);
    }
    bool flush() override { return answer("flush"); }
    bool readBack(const CopiedItems& items) override {
      if (files_.onReadBack) {
        files_.onReadBack(items);
      }
      return answer("read back");
    }
    VolumeFailure failure() const override { return failure_; }

   private:
    bool answer(const std::string& request) {
      files_.note(request);
      if (files_.failing.contains(request)) {
        failure_ = {request, EIO};
        return false;
      }
      return true;
    }

    TestFileManager& files_;
    VolumeFailure failure_;
  };

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
    if (onRequest) {
      onRequest(call);
    }
    const std::scoped_lock guard(lock_);
    calls.push_back(call);
  }

  std::mutex lock_;
};

}  // namespace fillstation::test
