#pragma once

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace fillstation::test {

// A temporary folder for thousands of levels: in memory where there is a place for that, because
// removing them takes disk file systems a minute, and removed by a tool that knows deep trees.
class DeepTempFolder {
 public:
  DeepTempFolder() {
    path_ = std::string(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/deep-XXXXXX";
    if (::mkdtemp(path_.data()) == nullptr) {
      std::abort();
    }
  }
  ~DeepTempFolder() {
    if (std::system(("rm -rf '" + path_ + "'").c_str()) != 0) {
      std::abort();
    }
  }
  DeepTempFolder(const DeepTempFolder&) = delete;
  DeepTempFolder& operator=(const DeepTempFolder&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace fillstation::test
