#include "UdevUsbBus.h"

#include <algorithm>
#include <cerrno>

#include "DiskFacts.h"

namespace fillstation {

namespace {

constexpr const char* kSubsystem = "usb";
// Whole devices; their interfaces have the same subsystem.
constexpr const char* kDeviceType = "usb_device";
constexpr const char* kBlockSubsystem = "block";
constexpr const char* kDiskType = "disk";
// The size of udev's queue while the main loop is busy. Most users get less.
constexpr int kReceiveBuffer = 16 * 1024 * 1024;

// The property with the name of the device's port, set by a rule for udev.
constexpr const char* kSlot = "FILLSTATION_SLOT";
constexpr const char* kHubClass = "IOUSBHubDevice";
// The class field of a hub's device descriptor, in sysfs.
constexpr const char* kUsbHub = "09";

std::string stringOf(udev_device* device, const char* attribute) {
  return udevAttribute(device, attribute).value_or("");
}

}  // namespace

// One attach of a whole USB device. It holds everything that was read at the attach, since nothing
// can be read when the device has gone. Main thread; the disks outlive it.
class UdevUsbDevice : public UsbDevice {
 public:
  // The number distinguishes this attach from all others of the bus.
  UdevUsbDevice(std::size_t attach, std::uint32_t handle, udev_device* device, KnownDisks& disks)
      : attach_(attach),
        handle_(handle),
        sysPath_(udevSysPath(device)),
        place_{udevSysName(device), udevProperty(device, kSlot).value_or(""),
               stringOf(device, "speed")},
        product_(stringOf(device, "product")),
        deviceClass_(udevAttribute(device, "bDeviceClass")),
        disks_(disks) {}

  bool conformsTo(std::string_view className) const override {
    return className == kUsbDeviceClass;
  }
  // A hub owns no disk: don't wait for one.
  std::string className() const override {
    return deviceClass_ == kUsbHub ? kHubClass : kUsbDeviceClass;
  }
  std::string registryName() const override {
    return product_.empty() ? kUsbDeviceClass : product_;
  }
  std::uint32_t handle() const override { return handle_; }

  std::optional<std::string> searchDiskName() const override {
    if (!present_) {
      return disks_.diskName(attach_);
    }
    auto name = findDiskBelow(sysPath_);
    const auto facts = name ? readDisk(*name) : std::nullopt;
    if (!facts || !facts->sequence || facts->usbHandle != handle_) {
      return std::nullopt;
    }
    disks_.found(attach_, *facts);
    return name;
  }

  std::shared_ptr<UsbDeviceInterface> openInterface() const override {
    const UdevContext context(::udev_new());
    const UdevDevice device(::udev_device_new_from_syspath(context.get(), sysPath_.c_str()));
    // Another device may be on the port by now.
    if (usbHandleOf(device.get()) != handle_) {
      return nullptr;
    }
    const auto release = udevNumber(udevAttribute(device.get(), "bcdDevice"), 16).value_or(0);
    return std::make_shared<StringDescriptors>(
        StringDescriptors::Texts{stringOf(device.get(), "manufacturer"),
                                 stringOf(device.get(), "product"),
                                 stringOf(device.get(), "serial")},
        static_cast<std::uint16_t>(release));
  }

  // False if the device had gone before it could be read: nothing is known about it.
  bool wasRead() const { return deviceClass_.has_value(); }
  // The number and the place of the attach.
  std::size_t attach() const { return attach_; }
  const UsbPlace& place() const { return place_; }
  // From now on the search answers from memory.
  void leave() { present_ = false; }

 private:
  const std::size_t attach_;
  const std::uint32_t handle_;
  const std::string sysPath_;
  const UsbPlace place_;
  const std::string product_;
  // Read last: everything before it was there too.
  const std::optional<std::string> deviceClass_;
  KnownDisks& disks_;
  bool present_ = true;
};

UdevUsbBus::UdevUsbBus(KnownDisks& disks, const StopSource& stop) : QtUsbBus(stop), disks_(disks) {}

bool UdevUsbBus::open(std::string_view className) {
  if (className != kUsbDeviceClass || !listen()) {
    return false;
  }
  // After the monitor, so that no device is missed in between.
  compareWithNow();
  return true;
}

bool UdevUsbBus::listen() {
  context_.reset(::udev_new());
  monitor_.reset(::udev_monitor_new_from_netlink(context_.get(), "udev"));
  if (!monitor_ ||
      ::udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), kSubsystem, kDeviceType) <
          0 ||
      ::udev_monitor_filter_add_match_subsystem_devtype(monitor_.get(), kBlockSubsystem,
                                                        kDiskType) < 0 ||
      ::udev_monitor_enable_receiving(monitor_.get()) < 0) {
    return false;
  }
  ::udev_monitor_set_receive_buffer_size(monitor_.get(), kReceiveBuffer);
  wake_ = std::make_unique<QSocketNotifier>(::udev_monitor_get_fd(monitor_.get()),
                                            QSocketNotifier::Read);
  QObject::connect(wake_.get(), &QSocketNotifier::activated, wake_.get(), [this] { takeEvents(); });
  return true;
}

std::vector<UdevDevice> UdevUsbBus::devicesNow() const {
  const UdevEnumeration enumeration(::udev_enumerate_new(context_.get()));
  ::udev_enumerate_add_match_subsystem(enumeration.get(), kSubsystem);
  ::udev_enumerate_add_match_property(enumeration.get(), "DEVTYPE", kDeviceType);
  // The others' events are still to come.
  ::udev_enumerate_add_match_is_initialized(enumeration.get());
  return udevDevices(context_.get(), enumeration.get());
}

void UdevUsbBus::compareWithNow() {
  const auto now = devicesNow();
  for (const auto& known : std::vector(present_)) {
    if (std::none_of(now.begin(), now.end(), [&known](const UdevDevice& device) {
          return usbHandleOf(device.get()) == known->handle();
        })) {
      leave(known->handle());
    }
  }
  for (const auto& device : now) {
    arrive(device.get());
  }
}

void UdevUsbBus::takeEvents() {
  bool lost = false;
  int error = 0;
  while (error == 0 || error == ENOBUFS) {
    const UdevDevice device{::udev_monitor_receive_device(monitor_.get())};
    error = device ? 0 : errno;
    lost = lost || error == ENOBUFS;
    if (device) {
      take(device.get());
    }
  }
  // After everything that came before the loss.
  if (lost) {
    compareWithNow();
    notifyOfMedia();
  }
}

void UdevUsbBus::take(udev_device* device) {
  const std::string_view action = ::udev_device_get_action(device);
  if (::udev_device_get_subsystem(device) == std::string_view(kBlockSubsystem)) {
    if (action == "change") {
      change(device);
    }
  } else if (action == "add") {
    arrive(device);
  } else if (action == "remove") {
    leave(usbHandleOf(device));
  }
}

void UdevUsbBus::change(udev_device* disk) {
  const auto device = present(usbHandleOf(usbDeviceAbove(disk)));
  // Most changes are others: every command that has written to a disk causes one.
  if (device && disks_.newMedium(device->attach())) {
    notifyOfMedia();
  }
}

void UdevUsbBus::arrive(udev_device* device) {
  const auto handle = usbHandleOf(device);
  if (!handle || present(handle)) {
    return;
  }
  auto arrived = std::make_shared<UdevUsbDevice>(++attaches_, *handle, device, disks_);
  // Without its class the program would wait for it in vain, and for its departure too.
  if (!arrived->wasRead()) {
    return;
  }
  present_.push_back(arrived);
  handOutArrival(std::move(arrived));
}

void UdevUsbBus::leave(const std::optional<std::uint32_t>& handle) {
  const auto left = present(handle);
  if (!left) {
    return;
  }
  left->leave();
  std::erase(present_, left);
  handOutLeaving(left, [&disks = disks_, left] { disks.forget(left->attach()); });
}

void UdevUsbBus::watchMedia(std::function<void()> notification) {
  mediaNotification_ = std::move(notification);
}

void UdevUsbBus::notifyOfMedia() {
  post([this] {
    if (mediaNotification_) {
      mediaNotification_();
    }
  });
}

std::optional<std::int64_t> UdevUsbBus::takeMedium(const DiskIdentity& player) {
  const auto device = present(player.usbHandle);
  const auto disk = device ? disks_.newMedium(device->attach()) : std::nullopt;
  if (!disk || player.node != nodeOf(disk->name())) {
    return std::nullopt;
  }
  disks_.found(device->attach(), *disk);
  return disk->size;
}

std::shared_ptr<UdevUsbDevice> UdevUsbBus::present(
    const std::optional<std::uint32_t>& handle) const {
  const auto found = std::find_if(present_.begin(), present_.end(), [&handle](const auto& device) {
    return device->handle() == handle;
  });
  return found != present_.end() ? *found : nullptr;
}

UsbPlace UdevUsbBus::placeOf(std::uint32_t handle) const {
  const auto device = present(handle);
  return device ? device->place() : UsbPlace();
}

}  // namespace fillstation
