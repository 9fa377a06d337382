#include "LoopDevice.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace fillstation::test {

namespace {

constexpr unsigned int kLoopMajor = 7;

}  // namespace

std::string LoopDevice::node() const { return "/run/box/loop" + std::to_string(number); }

std::string LoopDevice::deviceNumber() const {
  return std::to_string(kLoopMajor) + ":" + std::to_string(number);
}

// Another process may be faster with a free number.
LoopDevice LoopDevice::of(int file) {
  const FileHandle control(::open("/run/box/loop-control", O_RDWR | O_CLOEXEC));
  loop_config config{};
  config.fd = static_cast<std::uint32_t>(file);
  config.info.lo_flags = LO_FLAGS_AUTOCLEAR | LO_FLAGS_PARTSCAN;
  for (;;) {
    LoopDevice loop;
    loop.number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
    if (loop.number < 0) {
      ADD_FAILURE() << "no loop device";
      return {};
    }
    ::mknod(loop.node().c_str(), S_IFBLK | 0600,
            ::makedev(kLoopMajor, static_cast<unsigned int>(loop.number)));
    loop.device = FileHandle(::open(loop.node().c_str(), O_RDWR | O_CLOEXEC));
    if (loop.device && ::ioctl(loop.device.get(), LOOP_CONFIGURE, &config) == 0) {
      return loop;
    }
  }
}

}  // namespace fillstation::test
