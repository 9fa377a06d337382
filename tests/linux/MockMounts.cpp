#include "MockMounts.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <filesystem>

namespace fillstation::test {

std::map<std::string, dev_t>& mockMounts() {
  static std::map<std::string, dev_t> mounts;
  return mounts;
}

}  // namespace fillstation::test

// Mounting needs root. So a folder is said to be on the device that the test says.
extern "C" int fstat(int descriptor, struct stat* status) noexcept {
  using Status = int (*)(int, struct stat*);
  static const auto next = reinterpret_cast<Status>(::dlsym(RTLD_NEXT, "fstat"));
  const int result = next(descriptor, status);
  const auto& mounts = fillstation::test::mockMounts();
  if (result == 0 && !mounts.empty()) {
    std::error_code failed;
    const auto path =
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), failed);
    // What is below a mount is on its device, too; a mount in a mount comes later in the order.
    for (const auto& [mount, device] : mounts) {
      if ((path.string() + "/").starts_with(mount + "/")) {
        status->st_dev = device;
      }
    }
  }
  return result;
}
