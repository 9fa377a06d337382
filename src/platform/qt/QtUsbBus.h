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
  // UTF-8 texts, empty for none: manufacturer, product and serial number; and the release field
  // unchanged.
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

// The common part of all buses: devices that arrive and leave are handed out one at a time, in
// their order, from the main loop. None is handed out inside a call, while a notification is being
// handled (also not if its handler pauses in a nested loop), or when the stop was requested. Main
// thread; the stop source outlives it. Devices that are left when it is destroyed are never handed
// out.
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

  // Hands out a device that has arrived or left. `handled` is called at the end of the walk that
  // has yielded the device.
  void handOutArrival(std::shared_ptr<UsbDevice> device);
  void handOutLeaving(std::shared_ptr<UsbDevice> device, std::function<void()> handled);

  // Delivers another event in its turn.
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
