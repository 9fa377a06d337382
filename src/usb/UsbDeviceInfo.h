#pragma once

#include <cstdint>

namespace fillstation {

// The record of one attach or detach event. It owns nothing: every setter stores the pointer that
// it is given, and the strings belong to whoever filled the record. The watcher keeps one on its
// stack per event; a receiver copies what it wants to keep before the delivery call returns. Main
// thread.
struct UsbDeviceInfo {
  UsbDeviceInfo() = default;

  void setVid(const char* value) { vid = value; }
  void setPid(const char* value) { pid = value; }
  void setRev(int value) { rev = value; }
  void setSerialNumber(const char* value) { serialNumber = value; }
  void setMountPath(const char* value) { mountPath = value; }
  void setVolumeName(const char* value) { volumeName = value; }
  void setDiskName(const char* value) { diskName = value; }
  void setSize(long long value) { size = value; }
  // Stores 1 or 0.
  void setInserted(bool value) { inserted = value ? 1 : 0; }

  const char* vid = nullptr;           // manufacturer string, not a numeric id
  const char* pid = nullptr;           // product string, not a numeric id
  std::int32_t rev = 0;                // device release number as the device gives it
  const char* serialNumber = nullptr;  // "N/A" once the watcher has finished
  const char* mountPath = nullptr;     // address text of the mount point, "N/A" on detach
  const char* volumeName = nullptr;    // "N/A" on detach
  const char* diskName = nullptr;      // device node path; every producer sets it
  std::int32_t inserted = 0;           // 1 attach, 0 detach
  std::uint32_t ioService = 0;         // UsbDevice::handle(), assigned directly
  std::int64_t size = 0;               // bytes of the medium
};

}  // namespace fillstation
