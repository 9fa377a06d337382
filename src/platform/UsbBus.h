#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "DiskSession.h"

namespace fillstation {

// The class name of a whole device.
inline constexpr const char* kUsbDeviceClass = "IOUSBDevice";

// One control request to a USB device, fields as in the USB standard's set-up packet.
struct UsbRequest {
  std::uint8_t requestType = 0;
  std::uint8_t request = 0;
  std::uint16_t value = 0;
  std::uint16_t index = 0;
  std::uint16_t length = 0;
};

// Access to one device's descriptors. Main thread; lives as long as it is held.
class UsbDeviceInterface {
 public:
  virtual ~UsbDeviceInterface() = default;

  // Indexes of the device's string descriptors, 0 when the device has none.
  virtual std::uint8_t manufacturerStringIndex() const = 0;
  virtual std::uint8_t productStringIndex() const = 0;
  virtual std::uint8_t serialNumberStringIndex() const = 0;

  // The release field of the device descriptor (binary coded decimal: 0x0100 is 1.00).
  virtual std::uint16_t releaseNumber() const = 0;

  // Sends the request and fills the buffer; the number of bytes transferred (0 to the request's
  // length), none when the request fails.
  virtual std::optional<std::uint32_t> deviceRequest(const UsbRequest& request,
                                                     std::span<std::uint8_t> buffer) = 0;
};

// One whole USB device, present or just gone. Main thread; lives as long as it is held.
class UsbDevice {
 public:
  virtual ~UsbDevice() = default;

  virtual bool conformsTo(std::string_view className) const = 0;
  // kUsbDeviceClass for a whole device.
  virtual std::string className() const = 0;
  // The product name; kUsbDeviceClass for a device without one.
  virtual std::string registryName() const = 0;

  // Bus number x 65536 + device number.
  virtual std::uint32_t handle() const = 0;

  // The name of the whole disk below the device ("sdb"), looked up at each call; none if there is
  // none. For a device that has left, the name that was found while it was present.
  virtual std::optional<std::string> searchDiskName() const = 0;

  // Null if the device doesn't answer.
  virtual std::shared_ptr<UsbDeviceInterface> openInterface() const = 0;
};

// Hands out the devices of one notification. Main thread.
class UsbDeviceIterator {
 public:
  virtual ~UsbDeviceIterator() = default;

  // The next device, null if there is none for now: later notifications fill the same iterator.
  virtual std::shared_ptr<UsbDevice> next() = 0;
};

// The place where a device is plugged in. A plain value, empty if the device is not present.
struct UsbPlace {
  std::string port;   // the system's name ("1-2.4": bus 1, its port 2, port 4 of the hub there)
  std::string slot;   // the administrator's name for it; empty for none
  std::string speed;  // of the link, in Mbit/s, as the system writes it ("480", "1.5")
};

// The USB bus: whole devices that are present, arrive and leave, and the media of their disks.
// Everything happens on the main thread; lives as long as the program.
class UsbBus {
 public:
  using Notification = std::function<void(UsbDeviceIterator&)>;

  virtual ~UsbBus() = default;

  // Begins to watch devices of a class; false if the system has none or can't be reached.
  virtual bool open(std::string_view className) = 0;

  // Registers for devices that arrive or leave; null if that fails. The iterator returned by
  // watchAttach() yields the present devices, each once. Notifications are delivered from the main
  // loop, one device at a time and in order: only after the iterator has been walked to its end,
  // never while another one is being handled (not even in a pause of its handler), and not while
  // deliveries are held. A device that leaves after watchAttach() has yielded it is reported as
  // leaving, even if watchDetach() was called later.
  virtual std::shared_ptr<UsbDeviceIterator> watchAttach(Notification notification) = 0;
  virtual std::shared_ptr<UsbDeviceIterator> watchDetach(Notification notification) = 0;

  // Registers for disks whose medium, or its size, may have changed; the notification is delivered
  // like those of devices.
  virtual void watchMedia(std::function<void()> notification) = 0;

  // Makes the disk's present medium the player's; returns its size in bytes. None if it already is,
  // or if the disk is no longer that player's. Call it only when no request for the earlier medium
  // is in progress.
  virtual std::optional<std::int64_t> takeMedium(const DiskIdentity& player) = 0;

  // The place of the device with this handle.
  virtual UsbPlace placeOf(std::uint32_t handle) const = 0;

  // While deliveries are held (calls nest), notifications wait; they are delivered afterwards, in
  // order.
  virtual void hold() = 0;
  virtual void resume() = 0;
};

}  // namespace fillstation
