#pragma once

#include <cstdint>
#include <string>

namespace fillstation {

// By what the privileged side recognises the disk that a command is meant for, as the kernel tells
// it of the disk when it was found. A plain value.
struct PlayerGuard {
  std::string node;                // "/dev/" and the disk's name
  std::uint32_t busNumber = 0;     // of its USB device, as in the device's busnum file
  std::uint32_t deviceNumber = 0;  // as in its devnum file; used again after 127 devices
  std::uint64_t diskSequence = 0;  // as in the disk's diskseq file; never used again

  // UsbDevice::handle() of the device.
  std::uint32_t usbHandle() const { return busNumber * 65536 + deviceNumber; }
};

}  // namespace fillstation
