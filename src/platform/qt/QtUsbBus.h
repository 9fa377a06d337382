#pragma once

#include <QObject>
#include <deque>
#include <functional>
#include <memory>

#include "StopSource.h"
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
  void hold() override { ++held_; }
  void resume() override;

 protected:
  explicit QtUsbBus(const StopSource& stop);

  // Hands a device out that has arrived, or left. `handled` is called when the walk that has
  // yielded the device has ended.
  void handOutArrival(std::shared_ptr<UsbDevice> device);
  void handOutLeaving(std::shared_ptr<UsbDevice> device, std::function<void()> handled);

  // Has an event handled in its turn, from the main loop: never inside this call, nor while another
  // one is handled (also not when that pauses in a nested loop) or what was handed out is walked,
  // nor while the bus is held, nor once the stop is requested. What is left at the end never runs.
  void post(std::function<void()> event);

 private:
  struct Event;
  struct Side;

  std::shared_ptr<UsbDeviceIterator> watch(const std::shared_ptr<Side>& side,
                                           Notification notification);
  void deliver(Side& side, Event event);
  void schedule();
  void runNext();

  const StopSource& stop_;
  const std::shared_ptr<Side> attach_;
  const std::shared_ptr<Side> detach_;
  std::deque<std::function<void()>> events_;
  int held_ = 0;
  bool handling_ = false;
  QObject context_;
};

}  // namespace fillstation
