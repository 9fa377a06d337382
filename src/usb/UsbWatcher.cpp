#include <algorithm>
#include <chrono>
#include <cstdio>

#include "DiskVolume.h"
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

// Whether the walk goes on with the next device; it stops when the program is ending.
enum class Walk { goOn, stop };

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

Walk waitForDiskName(const UsbDevice& device, std::optional<std::string>& diskName) {
  for (int attempt = 0; attempt < kDiskNameAttempts; ++attempt) {
    diskName = device.searchDiskName();
    if (diskName) {
      return Walk::goOn;
    }
    if (!platform().clock->sleep(kDiskNamePause)) {
      return Walk::stop;
    }
    std::fputs("\nno bsd name so sleeping", stdout);
  }
  return Walk::goOn;
}

// Exact but for full-width forms, which some firmware writes.
bool isPlayerVendor(const std::optional<PlatformValue>& vendor) {
  constexpr char32_t kToFullWidth = U'\uFF21' - U'A';
  const std::string* const text = vendor ? vendor->asText() : nullptr;
  const auto points = text != nullptr ? decodeUtf8(*text) : std::nullopt;
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

std::int64_t mediumSize(const DiskDescription& description) {
  const std::int64_t* const size =
      description.mediaSize ? description.mediaSize->asNumber() : nullptr;
  return size != nullptr ? *size : 0;
}

Walk reportAttach(const UsbDevice& device, Disk& disk, const std::string& node) {
  const auto description = firstDescription(disk);
  if (!description || !isPlayerVendor(description->deviceVendor)) {
    return Walk::goOn;
  }
  UsbDeviceInfo record;
  record.ioService = device.handle();
  getUSBDeviceInfo(device, record);
  record.setInserted(true);
  record.setSerialNumber("N/A");
  record.setSize(mediumSize(*description));
  record.setDiskName(node.c_str());
  OwnedCString volumeName;
  OwnedCString volumePath;
  if (!findDiskVolume(disk, volumeName, volumePath)) {
    return Walk::stop;
  }
  if (volumeName) {
    record.setVolumeName(volumeName.get());
    record.setMountPath(volumePath.get());
  }
  doStuff(record);
  return Walk::goOn;
}

Walk reportDetach(const UsbDevice& device, const std::string& node) {
  UsbDeviceInfo record;
  record.setInserted(false);
  record.setSerialNumber("N/A");
  record.setVolumeName("N/A");
  record.setMountPath("N/A");
  record.setDiskName(node.c_str());
  record.ioService = device.handle();
  doStuff(record);
  return Walk::goOn;
}

Walk handleDevice(const UsbDevice& device, bool inserted) {
  if (!mayBePlayer(device)) {
    return Walk::goOn;
  }
  std::optional<std::string> diskName;
  const Walk walk = waitForDiskName(device, diskName);
  if (!diskName) {
    return walk;
  }
  const std::string node = formatText("/dev/%s", cfStringRefToCString(&*diskName));
  const auto eventSession = platform().createDiskSession();
  const auto disk = eventSession->diskFromName(node);
  if (!disk) {
    return Walk::goOn;
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
  auto walk = Walk::goOn;
  while (iterator != nullptr && walk == Walk::goOn) {
    const auto device = iterator->next();
    if (!device) {
      break;
    }
    walk = handleDevice(*device, inserted);
  }
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
