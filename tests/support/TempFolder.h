#pragma once

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

// The file's bytes, empty when it can't be read.
inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace fillstation::test
