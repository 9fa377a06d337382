#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "KnownDisks.h"
#include "Udev.h"
#include "UsbBus.h"

namespace fillstation {

// One attach of a whole USB device: what was read of it when it came, since nothing is left to read
// when it has gone. Main thread; the disks outlive it.
class UdevUsbDevice : public UsbDevice {
 public:
  // The number tells this attach from all others of the bus.
  UdevUsbDevice(std::size_t attach, std::uint32_t handle, udev_device* device, KnownDisks& disks);

  bool conformsTo(std::string_view className) const override;
  // "IOUSBHubDevice" for a hub, which owns no disk and would only be waited for in vain.
  std::string className() const override;
  std::string registryName() const override;
  std::uint32_t handle() const override { return handle_; }
  std::optional<std::string> searchDiskName() const override;
  std::shared_ptr<UsbDeviceInterface> openInterface() const override;

  // False when the device had gone before it could be read: nothing is known of it then.
  bool wasRead() const { return deviceClass_.has_value(); }
  // The number of the attach, and the port's name ("1-2.4").
  std::size_t attach() const { return attach_; }
  const std::string& portName() const { return portName_; }
  // From now on the search answers from memory.
  void leave() { present_ = false; }

 private:
  const std::size_t attach_;
  const std::uint32_t handle_;
  const std::string sysPath_;
  const std::string portName_;
  const std::string product_;
  // Read last: what comes before it was there too.
  const std::optional<std::string> deviceClass_;
  KnownDisks& disks_;
  bool present_ = true;
};

}  // namespace fillstation
