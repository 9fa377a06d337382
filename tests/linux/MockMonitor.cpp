#include "MockMonitor.h"

#include <dlfcn.h>
#include <libudev.h>

#include <cerrno>

namespace fillstation::test {

MockMonitor& mockMonitor() {
  static MockMonitor monitor;
  return monitor;
}

}  // namespace fillstation::test

using fillstation::test::mockMonitor;

// Events are only lost when the kernel is quicker than the program. So a test says when.
extern "C" udev_device* udev_monitor_receive_device(udev_monitor* monitor) {
  using Receive = udev_device* (*)(udev_monitor*);
  static const auto next =
      reinterpret_cast<Receive>(::dlsym(RTLD_NEXT, "udev_monitor_receive_device"));
  auto& looks = mockMonitor().looks;
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
  mockMonitor().bufferSizes.push_back(size);
  return 0;
}

extern "C" udev_device* udev_device_new_from_syspath(udev* context, const char* path) {
  using Make = udev_device* (*)(udev*, const char*);
  static const auto next =
      reinterpret_cast<Make>(::dlsym(RTLD_NEXT, "udev_device_new_from_syspath"));
  return mockMonitor().vanishing == path ? nullptr : next(context, path);
}
