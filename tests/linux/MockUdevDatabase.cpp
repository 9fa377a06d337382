#include "MockUdevDatabase.h"

#include <dlfcn.h>

#include <cstdio>
#include <string_view>

namespace fillstation::test {

std::string& mockUdevDatabase() {
  static std::string folder;
  return folder;
}

}  // namespace fillstation::test

// umockdev gives libudev another /sys and /dev but not another /run/udev, and root alone could put
// files there. So the function that libudev opens its database with is ours.
extern "C" std::FILE* fopen64(const char* path, const char* mode) {
  using Open = std::FILE* (*)(const char*, const char*);
  static const auto next = reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "fopen64"));
  constexpr std::string_view kDatabase = "/run/udev/data/";
  const std::string_view asked(path);
  // A library's own thread that opens something else must not look at the folder, which a test may
  // be setting.
  if (!asked.starts_with(kDatabase)) {
    return next(path, mode);
  }
  const std::string& folder = fillstation::test::mockUdevDatabase();
  if (folder.empty()) {
    return next(path, mode);
  }
  return next((folder + std::string(asked.substr(kDatabase.size()))).c_str(), mode);
}
