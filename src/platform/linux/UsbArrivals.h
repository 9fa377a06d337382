#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <vector>

#include "UdevUsbDevice.h"
#include "UsbBus.h"

namespace fillstation {

// One side of a bus, its arrivals or its leavings: the iterator that yields the devices and whom to
// notify. Main thread.
class UsbArrivals : public UsbDeviceIterator {
 public:
  using Devices = std::vector<std::shared_ptr<UdevUsbDevice>>;

  // At the end of a walk onWalked is told what the walk has yielded.
  std::shared_ptr<UsbDevice> next() override;

  // Puts a device behind those that are waiting to be yielded.
  void add(std::shared_ptr<UdevUsbDevice> device) { waiting_.push_back(std::move(device)); }

  // Hands the iterator to whom it concerns: it has to be walked now.
  void watch(UsbBus::Notification notification);
  void notify();

  bool isWatched() const { return static_cast<bool>(notification_); }
  // False between the hand-over and the end of the walk.
  bool isWalked() const { return walked_; }

  std::function<void(const Devices&)> onWalked;

 private:
  UsbBus::Notification notification_;
  std::deque<std::shared_ptr<UdevUsbDevice>> waiting_;
  Devices yielded_;
  bool walked_ = true;
};

}  // namespace fillstation
