#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "FileManager.h"

namespace fillstation::test {

// What is read comes from another file manager, which outlives this one; what becomes of a player's
// volume is for those who derive from it to say.
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

}  // namespace fillstation::test
