#pragma once

#include <QSocketNotifier>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "KnownDisks.h"
#include "QtUsbBus.h"
#include "StopSource.h"
#include "Udev.h"

namespace fillstation {

class UdevUsbDevice;

// The USB bus as udev shows it. The monitor's descriptor wakes the main loop, which queues the
// events. If too many came at once and some were lost, arrivals and departures are found by
// enumerating. Main thread; disks and stop source outlive it.
class UdevUsbBus : public QtUsbBus {
 public:
  UdevUsbBus(KnownDisks& disks, const StopSource& stop);

  bool open(std::string_view className) override;
  void watchMedia(std::function<void()> notification) override;
  std::optional<std::int64_t> takeMedium(const DiskIdentity& player) override;
  UsbPlace placeOf(std::uint32_t handle) const override;

 private:
  bool listen();
  void takeEvents();
  void take(udev_device* device);
  std::vector<UdevDevice> devicesNow() const;
  void compareWithNow();
  void arrive(udev_device* device);
  void change(udev_device* disk);
  void leave(const std::optional<std::uint32_t>& handle);
  void notifyOfMedia();
  // The device that is present with this handle; null for none.
  std::shared_ptr<UdevUsbDevice> present(const std::optional<std::uint32_t>& handle) const;

  KnownDisks& disks_;
  UdevContext context_;
  UdevMonitor monitor_;
  std::unique_ptr<QSocketNotifier> wake_;
  std::vector<std::shared_ptr<UdevUsbDevice>> present_;
  std::size_t attaches_ = 0;
  std::function<void()> mediaNotification_;
};

}  // namespace fillstation
