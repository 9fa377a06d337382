#include "UdevUsbBus.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace fillstation {

namespace {

constexpr const char* kSubsystem = "usb";
// Whole devices; their interfaces are of this subsystem too.
constexpr const char* kDeviceType = "usb_device";
constexpr const char* kBlockSubsystem = "block";
constexpr const char* kDiskType = "disk";
// What udev may send while the main loop is busy. Most users get less.
constexpr int kReceiveBuffer = 16 * 1024 * 1024;

}  // namespace

UdevUsbBus::UdevUsbBus(KnownDisks& disks, const StopSource& stop) : QtUsbBus(stop), disks_(disks) {}

bool UdevUsbBus::open(std::string_view className) {
  if (className != kUsbDeviceClass || !listen()) {
    return false;
  }
  // After the monitor, so that nobody who comes meanwhile is missed.
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
  // After what had come before the loss.
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
  // Most changes are others: every command that has written to a disk makes one.
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
  // Without its name it would be waited for in vain, and so would its leaving.
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

std::string UdevUsbBus::portName(std::uint32_t handle) const {
  const auto device = present(handle);
  return device ? device->portName() : std::string();
}

}  // namespace fillstation
