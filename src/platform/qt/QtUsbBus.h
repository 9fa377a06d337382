#pragma once

#include <functional>
#include <memory>

#include "MainLoopQueue.h"
#include "UsbBus.h"

namespace fillstation {

// What the buses of all back ends have in common: devices that arrive and leave are handed out one
// at a time, in order. Main thread; the stop source outlives it.
class QtUsbBus : public UsbBus {
 public:
  ~QtUsbBus() override;
  QtUsbBus(const QtUsbBus&) = delete;
  QtUsbBus& operator=(const QtUsbBus&) = delete;

  std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) override;
  std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) override;
  void hold() override { queue_.hold(); }
  void resume() override { queue_.resume(); }

 protected:
  explicit QtUsbBus(const StopSource& stop);

  // Hands a device out that has arrived, or left. `handled` is called when the walk that has
  // yielded the device has ended.
  void handOutArrival(std::shared_ptr<UsbDevice> device);
  void handOutLeaving(std::shared_ptr<UsbDevice> device, std::function<void()> handled);

  // Has another event delivered in its turn.
  void post(std::function<void()> event) { queue_.post(std::move(event)); }

 private:
  struct Event;
  struct Side;

  std::shared_ptr<UsbDeviceIterator> watch(const std::shared_ptr<Side>& side,
                                           Notification notification);
  void deliver(Side& side, Event event);
  void updateBusy();

  UsbEventQueue queue_;
  const std::shared_ptr<Side> attach_;
  const std::shared_ptr<Side> detach_;
};

}  // namespace fillstation
