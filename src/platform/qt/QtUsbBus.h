#pragma once

#include <QObject>
#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "StopSource.h"
#include "UsbBus.h"

namespace fillstation {

// A device's string descriptors, made of texts. Immutable; any thread.
class StringDescriptors : public UsbDeviceInterface {
 public:
  // UTF-8 texts, empty for none: manufacturer, product and serial number; and the release field as
  // it is.
  using Texts = std::array<std::string, 3>;
  StringDescriptors(Texts texts, std::uint16_t release)
      : texts_(std::move(texts)), release_(release) {}

  std::uint8_t manufacturerStringIndex() const override { return indexOf(0); }
  std::uint8_t productStringIndex() const override { return indexOf(1); }
  std::uint8_t serialNumberStringIndex() const override { return indexOf(2); }
  std::uint16_t releaseNumber() const override { return release_; }
  // Answers the standard request for a string descriptor of the device and no other.
  std::optional<std::uint32_t> deviceRequest(const UsbRequest& request,
                                             std::span<std::uint8_t> buffer) override;

 private:
  std::uint8_t indexOf(std::uint8_t place) const {
    return texts_[place].empty() ? 0 : static_cast<std::uint8_t>(place + 1);
  }

  const Texts texts_;
  const std::uint16_t release_;
};

// What the buses of all back ends have in common: devices that arrive and leave are handed out one
// at a time, first come first served, from the main loop. Nothing is handed out inside a call, nor
// while a notification is being handled (also not when its handler pauses in a nested loop), nor
// once the stop is requested. Main thread; the stop source outlives it. What has not been handed
// out when it is destroyed never is.
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

  // Has another event delivered in its turn.
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
