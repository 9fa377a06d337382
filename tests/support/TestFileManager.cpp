#include "TestFileManager.h"

#include <deque>
#include <utility>

namespace fillstation::test {
namespace {

class ScriptedWalk : public DirectoryWalk {
 public:
  ScriptedWalk(const std::vector<WalkStep>& steps, FileManager::WalkErrorHandler onError,
               std::vector<bool>& answers)
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
  FileManager::WalkErrorHandler onError_;
  std::vector<bool>& answers_;
};

}  // namespace

void TestFileManager::note(const std::string& call) {
  const std::scoped_lock guard(lock_);
  calls.push_back(call);
}

bool TestFileManager::fileExists(const std::string& path, bool* isDirectory) {
  note("exists " + path);
  const bool isFolder = folders.contains(path);
  if (isDirectory != nullptr) {
    *isDirectory = isFolder;
  }
  return isFolder || files.contains(path);
}

std::optional<std::int64_t> TestFileManager::fileSize(const std::string& path) {
  note("size " + path);
  const auto found = files.find(path);
  return found == files.end() ? std::nullopt : found->second;
}

std::unique_ptr<DirectoryWalk> TestFileManager::walk(const std::string& folder,
                                                     WalkErrorHandler onError) {
  note("walk " + folder);
  return std::make_unique<ScriptedWalk>(folders[folder], std::move(onError), errorAnswers);
}

std::shared_ptr<Volume> TestFileManager::openVolume(const std::string& mountPath,
                                                    const DiskIdentity& owner) {
  note("open " + mountPath);
  return open ? open(mountPath, owner) : nullptr;
}

void TestFileManager::addFolder(const std::string& path, std::vector<WalkStep> steps) {
  folders[path] = std::move(steps);
}

void TestFileManager::addFile(const std::string& path, std::optional<std::int64_t> size) {
  files[path] = size;
}

WalkStep folderStep(const std::string& path) { return WalkEntry{path, true, std::nullopt}; }

WalkStep fileStep(const std::string& path, std::optional<std::int64_t> size) {
  return WalkEntry{path, false, size};
}

}  // namespace fillstation::test
