#pragma once

#include <memory>
#include <utility>

#include "BenchPlayer.h"
#include "UsbBus.h"

namespace fillstation {

// A bench player as a device on the bus. Main thread.
class BenchUsbDevice : public UsbDevice {
 public:
  explicit BenchUsbDevice(std::shared_ptr<BenchPlayer> player) : player_(std::move(player)) {}

  bool conformsTo(std::string_view className) const override;
  std::string className() const override;
  std::string registryName() const override;
  std::uint32_t handle() const override { return player_->place().handle; }
  std::optional<std::string> searchDiskName() const override;
  std::shared_ptr<UsbDeviceInterface> openInterface() const override;

 private:
  std::shared_ptr<BenchPlayer> player_;
};

}  // namespace fillstation
