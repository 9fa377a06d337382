#include <algorithm>
#include <chrono>
#include <cstdio>

#include "Platform.h"
#include "UsbUtil.h"
#include "Utf8.h"

namespace fillstation {

std::shared_ptr<DiskSession> session;

namespace {

constexpr const char* kPlayerName = "HS USB FlashDisk";
constexpr std::u32string_view kPlayerVendor = U"ACTIONS";
constexpr std::size_t kNameBufferSize = 128;
constexpr int kDiskNameAttempts = 100;
constexpr std::chrono::microseconds kDiskNamePause(100'000);
constexpr int kDescriptionAttempts = 200;

// Set once by the registration. The iterators keep their registrations in force.
void* objInstance = nullptr;
UpdateUsbInfoCallBack updateUsbInfoCallBack = nullptr;
std::shared_ptr<UsbDeviceIterator> attachIterator;
std::shared_ptr<UsbDeviceIterator> detachIterator;

std::string inNameBuffer(const std::string& name) { return name.substr(0, kNameBufferSize - 1); }

bool mayBePlayer(const UsbDevice& device) {
  if (!device.conformsTo(kUsbDeviceClass)) {
    return false;
  }
  const std::string className = inNameBuffer(device.className());
  std::fprintf(stderr, "This device's className is %s\n", className.c_str());
  if (className != kUsbDeviceClass) {
    return false;
  }
  const std::string deviceName = inNameBuffer(device.registryName());
  std::fprintf(stderr, "Device Name is %s\n", deviceName.c_str());
  return deviceName == kPlayerName || deviceName == kUsbDeviceClass;
}

// As all below: false when the program is ending, and so the walk too.
bool waitForDiskName(const UsbDevice& device, std::optional<std::string>& diskName) {
  for (int attempt = 0; attempt < kDiskNameAttempts; ++attempt) {
    diskName = device.searchDiskName();
    if (diskName) {
      return true;
    }
    if (!platform().clock->sleep(kDiskNamePause)) {
      return false;
    }
    std::fputs("\nno bsd name so sleeping", stdout);
  }
  return true;
}

// Exact but for full-width forms, which some firmware writes.
bool isPlayerVendor(const std::string& vendor) {
  constexpr char32_t kToFullWidth = U'\uFF21' - U'A';
  const auto points = decodeUtf8(vendor);
  return points && std::equal(points->begin(), points->end(), kPlayerVendor.begin(),
                              kPlayerVendor.end(), [](char32_t point, char32_t letter) {
                                return point == letter || point == letter + kToFullWidth;
                              });
}

std::optional<DiskDescription> firstDescription(Disk& disk) {
  std::optional<DiskDescription> description;
  for (int attempt = 0; attempt < kDescriptionAttempts && !description; ++attempt) {
    description = disk.copyDescription();
  }
  return description;
}

bool reportAttach(const UsbDevice& device, Disk& disk, const std::string& node) {
  const auto description = firstDescription(disk);
  if (!description || !isPlayerVendor(description->deviceVendor.value_or(""))) {
    return true;
  }
  UsbDeviceInfo record;
  record.ioService = device.handle();
  getUSBDeviceInfo(device, record);
  record.setInserted(true);
  record.setSerialNumber("N/A");
  record.setSize(description->mediaSize.value_or(0));
  record.setDiskName(node.c_str());
  std::optional<std::string> volumeName;
  std::optional<std::string> volumePath;
  if (!findDiskVolume(disk, volumeName, volumePath)) {
    return false;
  }
  if (volumeName) {
    record.setVolumeName(volumeName->c_str());
    record.setMountPath(volumePath ? volumePath->c_str() : nullptr);
  }
  doStuff(record);
  return true;
}

bool reportDetach(const UsbDevice& device, const std::string& node) {
  UsbDeviceInfo record;
  record.setInserted(false);
  record.setSerialNumber("N/A");
  record.setVolumeName("N/A");
  record.setMountPath("N/A");
  record.setDiskName(node.c_str());
  record.ioService = device.handle();
  doStuff(record);
  return true;
}

bool handleDevice(const UsbDevice& device, bool inserted) {
  if (!mayBePlayer(device)) {
    return true;
  }
  std::optional<std::string> diskName;
  const bool goesOn = waitForDiskName(device, diskName);
  if (!diskName) {
    return goesOn;
  }
  const std::string node = formatText("/dev/%s", cfStringRefToCString(&*diskName));
  const auto eventSession = platform().createDiskSession();
  const auto disk = eventSession->diskFromName(node);
  if (!disk) {
    return true;
  }
  return inserted ? reportAttach(device, *disk, node) : reportDetach(device, node);
}

}  // namespace

int registerForUSBNotifications(void* receiver, UpdateUsbInfoCallBack deliver) {
  session = platform().createDiskSession();
  platform().mainThread->runPending();
  objInstance = receiver;
  updateUsbInfoCallBack = deliver;
  UsbBus& bus = *platform().usbBus;
  if (!bus.open(kUsbDeviceClass)) {
    return -1;
  }
  attachIterator =
      bus.watchAttach([](UsbDeviceIterator& devices) { USBDeviceInserted(nullptr, &devices); });
  USBDeviceInserted(nullptr, attachIterator.get());
  if (!attachIterator) {
    return -1;
  }
  detachIterator =
      bus.watchDetach([](UsbDeviceIterator& devices) { USBDeviceRemoved(nullptr, &devices); });
  USBDeviceRemoved(nullptr, detachIterator.get());
  return detachIterator ? 0 : -1;
}

void USBDeviceInserted(void* refcon, UsbDeviceIterator* iterator) {
  USBDeviceCallback(refcon, iterator, true);
}

void USBDeviceRemoved(void* refcon, UsbDeviceIterator* iterator) {
  USBDeviceCallback(refcon, iterator, false);
}

int USBDeviceCallback(void* /*refcon*/, UsbDeviceIterator* iterator, bool inserted) {
  std::fputs("start event", stdout);
  std::shared_ptr<UsbDevice> device;
  do {
    device = iterator != nullptr ? iterator->next() : nullptr;
  } while (device && handleDevice(*device, inserted));
  std::fputs("\nend event", stdout);
  std::fflush(stdout);
  return 0;
}

void doStuff(UsbDeviceInfo& record) {
  std::fputs(textOf(record.mountPath).c_str(), stdout);
  if (updateUsbInfoCallBack != nullptr) {
    updateUsbInfoCallBack(objInstance, &record);
  }
}

}  // namespace fillstation
