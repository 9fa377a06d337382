#include <dlfcn.h>
#include <fcntl.h>
#include <libudev.h>
#include <linux/fs.h>
#include <scsi/sg.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string_view>
#include <utility>

#include "MockMachine.h"

// A sanitizer's library insists on being the first.
#if defined(__SANITIZE_ADDRESS__)
constexpr const char* kPreload = "libasan.so.8 libumockdev-preload.so.0";
#elif defined(__SANITIZE_THREAD__)
constexpr const char* kPreload = "libtsan.so.2 libumockdev-preload.so.0";
#else
constexpr const char* kPreload = "libumockdev-preload.so.0";
#endif

// The threads of Qt, GLib and umockdev are not built with ThreadSanitizer, which therefore doesn't
// see how they synchronise with ours. It still checks our own code.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() { return "ignore_noninstrumented_modules=1"; }

namespace fillstation::test {

namespace {

std::mutex timeOutsLock;
// Never destroyed: Qt's D-Bus thread may still send while the program ends.
std::vector<int>& timeOuts = *new std::vector<int>;

// The system's own function of that name.
template <class Function>
Function* systems(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

int answerTo(sg_io_hdr& request) {
  MockUnit& unit = mockCalls().unit;
  unit.command.assign(request.cmdp, request.cmdp + request.cmd_len);
  unit.direction = request.dxfer_direction;
  unit.interfaceId = static_cast<char>(request.interface_id);
  unit.timeOut = request.timeout;
  request.status = unit.status;
  request.host_status = unit.hostStatus;
  return unit.result;
}

}  // namespace

MockCalls& mockCalls() {
  static MockCalls& calls = *new MockCalls;  // threads of libraries outlive it otherwise
  return calls;
}

std::vector<int> takeDBusTimeOuts() {
  const std::scoped_lock guard(timeOutsLock);
  return std::exchange(timeOuts, {});
}

void preloadMockUdev(char** argv) {
  if (std::getenv("FILLSTATION_PRELOADED") == nullptr) {
    ::setenv("FILLSTATION_PRELOADED", "1", 1);
    ::setenv("LD_PRELOAD", kPreload, 1);
    ::execv("/proc/self/exe", argv);
  }
  ::unsetenv("LD_PRELOAD");
}

}  // namespace fillstation::test

using fillstation::test::mockCalls;
using fillstation::test::systems;

// umockdev gives libudev another /sys and /dev but not another /run/udev, and root alone could put
// files there; and mounts need root. So the function that libudev opens its database with, and we
// the kernel's table, is ours, by both of its names.
extern "C" std::FILE* fopen64(const char* path, const char* mode) {
  static const auto next = systems<std::FILE*(const char*, const char*)>("fopen64");
  constexpr std::string_view kDatabase = "/run/udev/data/";
  const std::string_view asked(path);
  if (asked == "/proc/self/mountinfo" && !mockCalls().mountTable.empty()) {
    return next(mockCalls().mountTable.c_str(), mode);
  }
  // A library's own thread that opens something else must not look at the folder, which a test may
  // be setting.
  if (!asked.starts_with(kDatabase) || mockCalls().udevDatabase.empty()) {
    return next(path, mode);
  }
  const std::string name(asked.substr(kDatabase.size()));
  return next((mockCalls().udevDatabase + name).c_str(), mode);
}
extern "C" std::FILE* fopen(const char* path, const char* mode) { return fopen64(path, mode); }

// Events are only lost if the kernel is faster than the program, so a test decides when.
extern "C" udev_device* udev_monitor_receive_device(udev_monitor* monitor) {
  static const auto next = systems<udev_device*(udev_monitor*)>("udev_monitor_receive_device");
  auto& looks = mockCalls().looks;
  if (looks.empty()) {
    return next(monitor);
  }
  const auto look = looks.front();
  looks.erase(looks.begin());
  while (udev_device* lost = look.isLoss ? next(monitor) : nullptr) {
    ::udev_device_unref(lost);
  }
  errno = look.error;
  return look.error == 0 ? next(monitor) : nullptr;
}

extern "C" int udev_monitor_set_receive_buffer_size(udev_monitor* /*monitor*/, int size) {
  mockCalls().bufferSizes.push_back(size);
  return 0;
}

extern "C" udev_device* udev_device_new_from_syspath(udev* context, const char* path) {
  static const auto next =
      systems<udev_device*(udev*, const char*)>("udev_device_new_from_syspath");
  return mockCalls().vanishing == path ? nullptr : next(context, path);
}

// Mounting needs root, so the test decides which device a folder is on.
extern "C" int fstat(int descriptor, struct stat* status) noexcept {
  static const auto next = systems<int(int, struct stat*)>("fstat");
  const int result = next(descriptor, status);
  const auto& mounts = mockCalls().mounts;
  if (result == 0 && !mounts.empty()) {
    std::error_code failed;
    const auto path =
        std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), failed);
    // Folders below a mount are on its device too; a mount inside a mount comes later in the order.
    for (const auto& [mount, device] : mounts) {
      if ((path.string() + "/").starts_with(mount + "/")) {
        status->st_dev = device;
      }
    }
  }
  return result;
}

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  static const auto next = systems<int(int, unsigned long, void*)>("ioctl");
  std::va_list rest;
  va_start(rest, request);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  // Calls of other threads must not read it while a test sets it.
  const bool isForUnit = request == BLKGETDISKSEQ || request == SG_IO;
  if (!isForUnit || mockCalls().udevDatabase.empty()) {
    return next(descriptor, request, argument);
  }
  auto& unit = mockCalls().unit;
  if (request == BLKGETDISKSEQ) {
    *static_cast<std::uint64_t*>(argument) = unit.sequence;
    return unit.sequenceResult;
  }
  unit.opensWithoutMedium = (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
  unit.isInherited = (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0;
  return fillstation::test::answerTo(*static_cast<sg_io_hdr*>(argument));
}

// Qt calls libdbus through this one.
extern "C" unsigned int dbus_connection_send_with_reply(void* connection, void* message,
                                                        void** pending, int timeOut) {
  static const auto next =
      systems<unsigned int(void*, void*, void**, int)>("dbus_connection_send_with_reply");
  {
    const std::scoped_lock guard(fillstation::test::timeOutsLock);
    fillstation::test::timeOuts.push_back(timeOut);
  }
  return next(connection, message, pending, timeOut);
}
