#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "FileManager.h"

namespace fillstation::test {

// One step of a scripted walk: an entry, or a path that can't be read.
struct WalkError {
  std::string path;
};
using WalkStep = std::variant<WalkEntry, WalkError>;

// A file system by hand: what exists, and what each walk yields, in the order that the test says.
// Workers may ask what exists and open volumes.
class TestFileManager : public FileManager {
 public:
  bool fileExists(const std::string& path, bool* isDirectory) override;
  std::optional<std::int64_t> fileSize(const std::string& path) override;
  std::unique_ptr<DirectoryWalk> walk(const std::string& folder, WalkErrorHandler onError) override;
  std::shared_ptr<Volume> openVolume(const std::string& mountPath,
                                     const DiskIdentity& owner) override;

  // Adds a folder with the steps of its walk.
  void addFolder(const std::string& path, std::vector<WalkStep> steps = {});
  // Adds a file; without a size it exists, but the size can't be read.
  void addFile(const std::string& path, std::optional<std::int64_t> size);

  std::map<std::string, std::vector<WalkStep>> folders;
  std::map<std::string, std::optional<std::int64_t>> files;
  // "exists /a", "size /a", "walk /a", "open /a", in order.
  std::vector<std::string> calls;
  // What the error handlers answered.
  std::vector<bool> errorAnswers;
  // Null volumes by default.
  std::function<std::shared_ptr<Volume>(const std::string&, const DiskIdentity&)> open;

 private:
  void note(const std::string& call);

  std::mutex lock_;
};

// Steps of a walk.
WalkStep folderStep(const std::string& path);
WalkStep fileStep(const std::string& path, std::optional<std::int64_t> size);

}  // namespace fillstation::test
