#pragma once

#include <cstdint>
#include <string>

namespace fillstation {

// By what the privileged side recognises the disk that a command is meant for, as the kernel tells
// it of the disk when it was found. A plain value.
struct PlayerGuard {
  std::string node;           // "/dev/" and the disk's name
  std::uint32_t busnum = 0;   // of its USB device, as in the device's busnum file
  std::uint32_t devnum = 0;   // as in its devnum file; used again after 127 devices
  std::uint64_t diskseq = 0;  // as in the disk's diskseq file; never used again

  // UsbDevice::handle() of the device.
  std::uint32_t usbHandle() const { return busnum * 65536 + devnum; }
};

}  // namespace fillstation
