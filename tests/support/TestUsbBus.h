#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TestPlatform.h"
#include "UsbBus.h"

namespace fillstation::test {

// The descriptors of a TestUsbDevice; records every request.
class TestUsbInterface : public UsbDeviceInterface {
 public:
  std::uint8_t manufacturerStringIndex() const override { return manufacturerIndex; }
  std::uint8_t productStringIndex() const override { return productIndex; }
  std::uint8_t serialNumberStringIndex() const override { return serialIndex; }
  std::uint16_t releaseNumber() const override { return release; }
  std::optional<std::uint32_t> deviceRequest(const UsbRequest& request,
                                             std::span<std::uint8_t> buffer) override;

  // A whole string descriptor of the text, header included, each byte one code unit.
  static std::vector<std::uint8_t> descriptorOf(const std::string& text);

  std::uint8_t manufacturerIndex = 1;
  std::uint8_t productIndex = 2;
  std::uint8_t serialIndex = 3;
  std::uint16_t release = 0x0100;
  // Answers by string index; the request fails for any other.
  std::map<std::uint8_t, std::vector<std::uint8_t>> descriptors;
  // The count that requests report in place of the bytes really copied.
  std::optional<std::uint32_t> reportedCount;
  std::vector<UsbRequest> requests;
  std::vector<std::size_t> bufferSizes;
};

// A whole USB device as the test describes it: a player with a disk by default.
class TestUsbDevice : public UsbDevice {
 public:
  bool conformsTo(std::string_view className) const override;
  std::string className() const override { return classText; }
  std::string registryName() const override { return nameText; }
  std::uint32_t handle() const override { return handleValue; }
  std::optional<std::string> searchDiskName() const override;
  std::shared_ptr<UsbDeviceInterface> openInterface() const override { return interface; }

  std::vector<std::string> conforming = {"IOUSBDevice"};
  std::string classText = "IOUSBDevice";
  std::string nameText = "HS USB FlashDisk";
  std::uint32_t handleValue = 0x00010002;
  std::optional<std::string> diskName = "sdb";
  // The answer of a search by its number, the first being 1, in place of diskName.
  std::function<std::optional<std::string>(std::size_t)> search;
  // Null: the device doesn't answer.
  std::shared_ptr<TestUsbInterface> interface = std::make_shared<TestUsbInterface>();
  mutable std::size_t searches = 0;
};

// A USB bus by hand. Notifications are queued for the main thread and keep the rules of UsbBus: one
// device at a time, in order, after the iterator has been walked to its end, never inside another
// one, not while held.
class TestUsbBus : public UsbBus {
 public:
  explicit TestUsbBus(TestMainThread& mainThread) : mainThread_(mainThread) {}

  bool open(std::string_view className) override;
  std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) override;
  std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) override;
  void hold() override;
  void resume() override;
  void watchMedia(std::function<void()> notification) override;
  std::optional<std::int64_t> takeMedium(const DiskIdentity& player) override;
  UsbPlace placeOf(std::uint32_t handle) const override;

  // A device arrives: before watchAttach() it is simply present, afterwards it is notified.
  void plug(std::shared_ptr<TestUsbDevice> device);
  // A device leaves.
  void unplug(std::shared_ptr<TestUsbDevice> device);
  // The disk of this node gets another medium with this number of bytes.
  void changeMedium(const std::string& node, std::int64_t size);

  // Called with each device when its arrival (true) or departure has been handled.
  std::function<void(const TestUsbDevice&, bool)> onHandled;
  // By handle.
  std::map<std::uint32_t, UsbPlace> places;
  bool opens = true;
  bool attachRegisters = true;
  bool detachRegisters = true;
  // "open IOUSBDevice", "watchAttach", "watchDetach", "hold", "resume", in order.
  std::vector<std::string> calls;

 private:
  class Iterator;
  struct Event {
    std::shared_ptr<TestUsbDevice> device;  // null: a medium has changed
    bool inserted;
  };
  // One direction: the iterator that was handed out, and the function to notify.
  struct Watch {
    Notification notification;
    std::weak_ptr<Iterator> iterator;
  };

  std::shared_ptr<UsbDeviceIterator> watch(Watch& watch, Notification notification,
                                           std::deque<std::shared_ptr<TestUsbDevice>> devices);
  void schedule();
  void deliver();
  // Whether the first event may be delivered now; then its device is in the iterator.
  std::shared_ptr<Iterator> readyIterator();

  TestMainThread& mainThread_;
  std::deque<std::shared_ptr<TestUsbDevice>> present_;
  std::deque<Event> events_;
  Watch attach_;
  Watch detach_;
  std::function<void()> mediaNotification_;
  std::map<std::string, std::int64_t> newMedia_;  // sizes by node
  int holds_ = 0;
  bool attachWatched_ = false;
  bool delivering_ = false;
};

}  // namespace fillstation::test
