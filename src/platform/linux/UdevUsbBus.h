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
#include "MainLoopQueue.h"
#include "StopSource.h"
#include "Udev.h"
#include "UdevUsbDevice.h"
#include "UsbArrivals.h"
#include "UsbBus.h"

namespace fillstation {

// The USB bus as udev shows it. Events are taken in when the monitor's descriptor wakes the main
// loop and wait in the queue for their turn; when some were lost because too many came at once, who
// has come and gone is found by looking. Main thread; disks and stop source outlive it.
class UdevUsbBus : public UsbBus {
 public:
  UdevUsbBus(KnownDisks& disks, const StopSource& stop);
  ~UdevUsbBus() override;
  UdevUsbBus(const UdevUsbBus&) = delete;
  UdevUsbBus& operator=(const UdevUsbBus&) = delete;

  bool open(std::string_view className) override;
  std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) override;
  std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) override;
  void watchMedia(std::function<void()> notification) override;
  std::optional<std::int64_t> takeMedium(const DiskIdentity& player) override;
  std::string portName(std::uint32_t handle) const override;
  void hold() override { queue_.hold(); }
  void resume() override { queue_.resume(); }

 private:
  bool listen();
  void takeEvents();
  void take(udev_device* device);
  std::vector<UdevDevice> devicesNow() const;
  void compareWithNow();
  void arrive(udev_device* device);
  void change(udev_device* disk);
  void leave(const std::optional<std::uint32_t>& handle);
  std::shared_ptr<UsbDeviceIterator> watch(const std::shared_ptr<UsbArrivals>& side,
                                           Notification notification);
  void notify(UsbArrivals& side, std::shared_ptr<UdevUsbDevice> device);
  void notifyOfMedia();
  // The device that is present with this handle; null for none.
  std::shared_ptr<UdevUsbDevice> present(const std::optional<std::uint32_t>& handle) const;
  void updateBusy();

  KnownDisks& disks_;
  UsbEventQueue queue_;
  UdevContext context_;
  UdevMonitor monitor_;
  std::unique_ptr<QSocketNotifier> wake_;
  UsbArrivals::Devices present_;
  std::size_t attaches_ = 0;
  std::function<void()> mediaNotification_;
  std::shared_ptr<UsbArrivals> attach_ = std::make_shared<UsbArrivals>();
  std::shared_ptr<UsbArrivals> detach_ = std::make_shared<UsbArrivals>();
};

}  // namespace fillstation
