#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "DiskSession.h"
#include "UsbBus.h"

namespace fillstation {

// The record of one attach or detach event. It owns nothing: every setter stores the pointer that
// it is given; the strings belong to the code that filled the record. The watcher keeps one on its
// stack per event; a receiver copies what it needs before the delivery call returns. Main thread.
struct UsbDeviceInfo {
  UsbDeviceInfo() = default;

  void setVid(const char* value) { vid = value; }
  void setPid(const char* value) { pid = value; }
  void setRev(int value) { rev = value; }
  void setSerialNumber(const char* value) { serialNumber = value; }
  void setMountPath(const char* value) { mountPath = value; }
  void setVolumeName(const char* value) { volumeName = value; }
  void setDiskName(const char* value) { diskName = value; }
  void setSize(long long value) { size = value; }
  // Stores 1 or 0.
  void setInserted(bool value) { inserted = value ? 1 : 0; }

  const char* vid = nullptr;           // manufacturer string, not a numeric id
  const char* pid = nullptr;           // product string, not a numeric id
  std::int32_t rev = 0;                // device release number as the device gives it
  const char* serialNumber = nullptr;  // "N/A" once the watcher has finished
  const char* mountPath = nullptr;     // address text of the mount point, "N/A" on detach
  const char* volumeName = nullptr;    // "N/A" on detach
  const char* diskName = nullptr;      // device node path; every producer sets it
  std::int32_t inserted = 0;           // 1 attach, 0 detach
  std::uint32_t ioService = 0;         // UsbDevice::handle(), assigned directly
  std::int64_t size = 0;               // bytes of the medium
};

// Device discovery: watches the USB bus for players and passes each arrival and departure to one
// receiver. Plain functions with module state that registerForUSBNotifications() sets once, on the
// main thread, and that lives until the process ends. Diagnostic lines go to standard output and
// standard error.

// A delivery function: the registered receiver and a record that is valid during the call only.
using UpdateUsbInfoCallBack = void (*)(void* receiver, UsbDeviceInfo* record);

// The shared disk session of all mount, unmount and eject requests, null before the registration.
extern std::shared_ptr<DiskSession> session;

// Registers for devices that arrive and leave, and reports the present players before it returns. 0
// when both registrations succeeded, -1 otherwise. Main thread, once.
int registerForUSBNotifications(void* receiver, UpdateUsbInfoCallBack deliver);

// The two notifications of the bus; a null iterator yields nothing. The first argument is not used.
void USBDeviceInserted(void* refcon, UsbDeviceIterator* iterator);
void USBDeviceRemoved(void* refcon, UsbDeviceIterator* iterator);

// Handles every device of the iterator, one after the other. The result carries no meaning.
int USBDeviceCallback(void* refcon, UsbDeviceIterator* iterator, bool inserted);

// Fills vid, pid, serialNumber and rev from the device's descriptors; the record stays unchanged if
// the device doesn't answer. The strings stay allocated until the process ends.
void getUSBDeviceInfo(const UsbDevice& device, UsbDeviceInfo& record);

// The string descriptor of an index (US English, 128 bytes at most, low bytes of its code units),
// null when the request fails. The caller owns the result (std::free). The interface must not be
// null.
char* getUSBStringDescriptor(UsbDeviceInterface* usbDevice, std::uint8_t index);

// The single delivery point: prints the record's mountPath to standard output ("(null)" without
// one) and calls the registered receiver; returns when that has returned.
void doStuff(UsbDeviceInfo& record);

// The most bytes of a converted text, including its terminator.
inline constexpr std::size_t kConversionLimit = 1024;

// The text as a C string of at most 1023 bytes, in a buffer of the calling thread that the next
// call overwrites; null for null; empty when the text is longer or is not UTF-8.
const char* cfStringRefToCString(const std::string* s);

// The text between the first two double quotes of a value's description, with "x" in place of a
// leading digit; in another buffer of the calling thread that the next call overwrites. Null for
// null; empty when there are no two quotes, or the description is too long or not UTF-8.
const char* cfTypeToCString(const std::string* v);

// Waits for the name and the mount location (address text) of the disk's volume: up to 200 looks, 1
// s apart while the system has no description, 10 ms apart while the description has neither. Sets
// both outputs to null, then to the results; the caller owns them (std::free). Returns at once
// without a disk. Any thread.
void getDiskVolume(Disk* disk, char** volumeName, char** volumePath);

// The same with texts; an output without a result stays unchanged. False when the program began to
// end during a pause.
bool findDiskVolume(Disk& disk, std::optional<std::string>& volumeName,
                    std::optional<std::string>& volumePath);

// The same for a disk's name or device node path, as new texts; an output without a result stays
// unchanged. Any thread.
void getDiskVolumeFromDriveName(const char* driveName, std::optional<std::string>& volumeName,
                                std::optional<std::string>& volumePath);

}  // namespace fillstation
