#include "UdevPreload.h"

#include <unistd.h>

#include <cstdlib>

// A sanitizer's library insists on being the first.
#if defined(__SANITIZE_ADDRESS__)
constexpr const char* kPreload = "libasan.so.8 libumockdev-preload.so.0";
#elif defined(__SANITIZE_THREAD__)
constexpr const char* kPreload = "libtsan.so.2 libumockdev-preload.so.0";
#else
constexpr const char* kPreload = "libumockdev-preload.so.0";
#endif

// Qt, GLib and umockdev bring threads of their own and are not built with ThreadSanitizer, which
// therefore doesn't see by what those wait for ours. What our own code does is watched as ever.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }

namespace fillstation::test {

void preloadMockUdev(char** argv) {
  if (std::getenv("FILLSTATION_PRELOADED") == nullptr) {
    ::setenv("FILLSTATION_PRELOADED", "1", 1);
    ::setenv("LD_PRELOAD", kPreload, 1);
    ::execv("/proc/self/exe", argv);
  }
  ::unsetenv("LD_PRELOAD");
}

}  // namespace fillstation::test
