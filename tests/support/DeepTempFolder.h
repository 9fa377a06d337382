#pragma once

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "TempFolder.h"

namespace fillstation::test {

// A temporary folder for thousands of levels: in memory where there is a place for that, because
// removing them takes disk file systems a minute, and removed by a tool that knows deep trees.
class DeepTempFolder {
 public:
  DeepTempFolder() : before_(textOf(std::getenv("TMPDIR"))) {
    if (::access("/dev/shm", W_OK) == 0) {
      ::setenv("TMPDIR", "/dev/shm", 1);
    }
    folder_ = std::make_unique<TempFolder>();
    if (before_.empty()) {
      ::unsetenv("TMPDIR");
    } else {
      ::setenv("TMPDIR", before_.c_str(), 1);
    }
  }
  ~DeepTempFolder() {
    const std::string command = "rm -rf '" + path() + "'";
    if (std::system(command.c_str()) != 0) {
      std::abort();
    }
  }
  DeepTempFolder(const DeepTempFolder&) = delete;
  DeepTempFolder& operator=(const DeepTempFolder&) = delete;

  const std::string& path() const { return folder_->path(); }

 private:
  static std::string textOf(const char* text) { return text != nullptr ? text : ""; }

  std::string before_;
  std::unique_ptr<TempFolder> folder_;
};

}  // namespace fillstation::test
