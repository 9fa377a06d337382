#pragma once

#include <QSocketNotifier>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "KnownDisks.h"
#include "QtUsbBus.h"
#include "StopSource.h"
#include "Udev.h"

namespace fillstation {

class UdevUsbDevice;

// A device's string descriptors, made of texts: raw access to the device would need root, while
// the kernel has read the strings already. Immutable; any thread.
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

// The USB bus as udev shows it. Events are taken in when the monitor's descriptor wakes the main
// loop and wait in the queue for their turn; when some were lost because too many came at once, who
// has come and gone is found by looking. Main thread; disks and stop source outlive it.
class UdevUsbBus : public QtUsbBus {
 public:
  UdevUsbBus(KnownDisks& disks, const StopSource& stop);

  bool open(std::string_view className) override;
  void watchMedia(std::function<void()> notification) override;
  std::optional<std::int64_t> takeMedium(const DiskIdentity& player) override;
  std::string portName(std::uint32_t handle) const override;

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
