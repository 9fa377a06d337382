#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fillstation::test {

// A new empty folder that goes with the object.
class TempFolder {
 public:
  TempFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "fillstation-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("No temporary folder can be made: " + pattern);
    }
    path_ = pattern;
  }
  ~TempFolder() {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(path_, ignored)) {
      if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) {  // closed by a test, perhaps
        std::filesystem::permissions(entry, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
      }
    }
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  // Absolute, without a "/" at the end.
  const std::string& path() const { return path_; }
  std::string path(std::string_view below) const { return path_ + "/" + std::string(below); }

  // Creates a file with missing parents; returns its absolute path.
  std::string write(std::string_view below, std::string_view content) const {
    const std::string target = path(below);
    std::filesystem::create_directories(std::filesystem::path(target).parent_path());
    std::ofstream(target, std::ios::binary) << content;
    return target;
  }
  std::string makeFolder(std::string_view below) const {
    std::filesystem::create_directories(path(below));
    return path(below);
  }

 private:
  std::string path_;
};

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

  // Makes folders of that name below one another, and a file "end" of 5 bytes in the lowest; the
  // path of the lowest folder.
  std::string makeFolders(const std::string& name, int levels) const {
    int folder = ::open(path_.c_str(), O_PATH);
    std::string path = path_;
    for (int level = 0; level < levels; ++level) {
      ::mkdirat(folder, name.c_str(), 0700);
      const int below = ::openat(folder, name.c_str(), O_PATH);
      ::close(folder);
      folder = below;
      path += "/" + name;
    }
    const int file = ::openat(folder, "end", O_WRONLY | O_CREAT, 0600);
    if (::write(file, "12345", 5) != 5) {
      std::abort();
    }
    ::close(file);
    ::close(folder);
    return path;
  }

 private:
  std::string path_;
};

// The file's bytes, empty when it can't be read.
inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace fillstation::test
