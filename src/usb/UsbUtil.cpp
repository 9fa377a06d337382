#include "UsbUtil.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "Platform.h"
#include "Utf8.h"

namespace fillstation {
namespace {

using TextBuffer = std::array<char, 2048>;

// A text that is too long or not UTF-8 leaves the empty string.
void convert(std::string_view text, TextBuffer& buffer) {
  buffer[0] = '\0';
  if (text.size() < kConversionLimit && decodeUtf8(text)) {
    buffer[text.copy(buffer.data(), kConversionLimit)] = '\0';
  }
}

constexpr std::uint16_t kDescriptorSize = 128;
constexpr std::uint16_t kHeaderSize = 2;
constexpr std::uint16_t kUsEnglish = 1033;

// A receiver may look at a record's descriptor strings at any time, so they are never freed. Equal
// texts are stored once, so that players of one make don't add up.
const char* descriptor(UsbDeviceInterface& usbDevice, std::uint8_t index) {
  static std::set<std::string> texts;
  const std::unique_ptr<char, decltype(&std::free)> text(getUSBStringDescriptor(&usbDevice, index),
                                                         &std::free);
  return text ? texts.insert(text.get()).first->c_str() : nullptr;
}

constexpr int kAttempts = 200;
constexpr std::chrono::microseconds kPauseWithoutDescription(1'000'000);
constexpr std::chrono::microseconds kPauseWithoutVolume(10'000);

// True when there was something to store.
bool store(const char* found, std::optional<std::string>& output) {
  if (*found == '\0') {
    return false;
  }
  output = found;
  return true;
}

void readFacts(const DiskDescription& description, std::optional<std::string>& volumeName,
               std::optional<std::string>& volumePath) {
  // The form in which a description has it, which the conversion reads.
  const std::string name = '"' + description.volumeName.value_or("") + '"';
  if (store(cfTypeToCString(&name), volumeName)) {
    std::fputs("\n got vol name", stdout);
  }
  const std::string path = description.volumePath.value_or("");
  if (store(cfStringRefToCString(&path), volumePath)) {
    std::fputs("\n got vol path", stdout);
  }
}

}  // namespace

const char* cfStringRefToCString(const std::string* s) {
  thread_local TextBuffer buffer;
  if (s == nullptr) {
    return nullptr;
  }
  convert(*s, buffer);
  return buffer.data();
}

const char* cfTypeToCString(const std::string* v) {
  thread_local TextBuffer buffer;
  if (v == nullptr) {
    return nullptr;
  }
  convert(*v, buffer);
  // An older result may follow the terminator; strchr() stops before it.
  char* const open = std::strchr(buffer.data(), '"');
  char* const close = open != nullptr ? std::strchr(open + 1, '"') : nullptr;
  if (close == nullptr) {
    buffer[0] = '\0';
    return buffer.data();
  }
  *close = '\0';
  char* const result = open + 1;
  if (*result >= '0' && *result <= '9') {
    *result = 'x';
  }
  return result;
}

void getUSBDeviceInfo(const UsbDevice& device, UsbDeviceInfo& record) {
  const auto usbDevice = device.openInterface();
  if (!usbDevice) {
    return;
  }
  const auto manufacturer = usbDevice->manufacturerStringIndex();
  const auto product = usbDevice->productStringIndex();
  const auto serialNumber = usbDevice->serialNumberStringIndex();
  const auto release = usbDevice->releaseNumber();
  record.setVid(descriptor(*usbDevice, manufacturer));
  record.setPid(descriptor(*usbDevice, product));
  record.setSerialNumber(descriptor(*usbDevice, serialNumber));
  record.setRev(release);
}

char* getUSBStringDescriptor(UsbDeviceInterface* usbDevice, std::uint8_t index) {
  // Active in every build: nothing sensible can follow.
  if (usbDevice == nullptr) {
    std::fputs("UsbUtil:471: getUSBStringDescriptor: Assertion `usbDevice' failed.\n", stderr);
    std::abort();
  }
  const UsbRequest request{.requestType = 0x80,
                           .request = 6,
                           .value = static_cast<std::uint16_t>(0x300U | index),
                           .index = kUsEnglish,
                           .length = kDescriptorSize};
  std::array<std::uint8_t, kDescriptorSize> buffer{};
  const auto transferred = usbDevice->deviceRequest(request, buffer);
  if (!transferred) {
    return nullptr;
  }
  // No transferred bytes wrap to a huge count, which the end of the buffer limits.
  const std::uint32_t count = (*transferred - 1) >> 1U;
  auto* const text = static_cast<char*>(std::calloc(kDescriptorSize, 1));
  std::size_t from = kHeaderSize;
  for (std::uint32_t unit = 0; unit < count && from < buffer.size(); ++unit, from += 2) {
    text[unit] = static_cast<char>(buffer[from]);
  }
  return text;
}

bool findDiskVolume(Disk& disk, std::optional<std::string>& volumeName,
                    std::optional<std::string>& volumePath) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const auto description = disk.copyDescription();
    if (!description) {
      if (!platform().clock->sleep(kPauseWithoutDescription)) {
        return false;
      }
      std::fputs("\nsleeping", stdout);
      continue;
    }
    readFacts(*description, volumeName, volumePath);
    if (volumeName || volumePath) {
      return true;
    }
    std::fputs("\n no vol name", stdout);
    if (!platform().clock->sleep(kPauseWithoutVolume)) {
      return false;
    }
  }
  return true;
}

void getDiskVolume(Disk* disk, char** volumeName, char** volumePath) {
  std::optional<std::string> name;
  std::optional<std::string> path;
  if (disk != nullptr) {
    findDiskVolume(*disk, name, path);
  }
  *volumeName = name ? ::strdup(name->c_str()) : nullptr;
  *volumePath = path ? ::strdup(path->c_str()) : nullptr;
}

void getDiskVolumeFromDriveName(const char* driveName, std::optional<std::string>& volumeName,
                                std::optional<std::string>& volumePath) {
  const auto ownSession = platform().createDiskSession();
  const auto disk = driveName != nullptr ? ownSession->diskFromName(driveName) : nullptr;
  std::optional<std::string> name;
  std::optional<std::string> path;
  if (disk) {
    findDiskVolume(*disk, name, path);
  }
  if (name) {
    volumeName = std::move(name);
  }
  if (path) {
    volumePath = std::move(path);
  }
}

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

// Like all functions below: false when the program is ending, which ends the walk too.
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

// Exact except for full-width forms, which some firmware writes.
bool isPlayerVendor(const std::string& vendor) {
  constexpr char32_t kToFullWidth = U'\uFF21' - U'A';
  const auto points = decodeUtf8(vendor);
  return points && std::ranges::equal(*points, kPlayerVendor, [](char32_t point, char32_t letter) {
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
