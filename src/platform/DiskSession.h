#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

// The node's path of a disk or partition, and the name in one ("sdb" of "/dev/sdb"); a name is its
// own.
inline constexpr std::string_view kDeviceFolder = "/dev/";
inline std::string nodeOf(const std::string& name) { return std::string(kDeviceFolder) + name; }
inline std::string diskNameOf(std::string_view node) {
  return std::string(node.substr(node.starts_with(kDeviceFolder) ? kDeviceFolder.size() : 0));
}

// Which player a destructive or state-changing request is meant for. The platform refuses to act on
// any disk that is not this one any more.
struct DiskIdentity {
  std::string node;             // device node path, "/dev/" and the disk's name
  std::uint32_t usbHandle = 0;  // UsbDevice::handle() of the device that the disk belongs to
};

// What the system knows of a disk at one moment; each value may be absent.
struct DiskDescription {
  std::optional<std::string> deviceVendor;
  std::optional<std::int64_t> mediaSize;  // bytes
  std::optional<std::string> volumeName;
  std::optional<std::string> volumePath;  // address text of the mount point, ending in "/"
};

// Why a request was refused or failed.
struct Dissenter {
  std::string reason;
};

// One disk as a name stood for when the object was made. Any thread; lives as long as it is held.
class Disk {
 public:
  virtual ~Disk() = default;

  // What the system knows now, without waiting for anything; none while the system has not looked
  // at the disk yet. A disk whose device has gone in the meantime has an empty description, not
  // none.
  virtual std::optional<DiskDescription> copyDescription() = 0;
};

// To mount the disk's volume at the default place; to unmount every volume of the disk; to eject
// the device.
enum class DiskRequest { mount, unmount, eject };

// A connection to the system's disk service. Requests may be made on any thread; they are executed
// and completed strictly in request order per disk, never inside the call, on the main thread, and
// never timed out. A completion holds whatever it captured until it has run.
class DiskSession {
 public:
  // The disk that the request was made with (null if none) and the dissenter, null on success.
  using Completion = std::function<void(const std::shared_ptr<Disk>&, const Dissenter*)>;

  virtual ~DiskSession() = default;

  // The disk of a name ("sdb") or device node path ("/dev/sdb"). A disk exists for every name that
  // is present and for a remembered one while its leaving is handled; otherwise null.
  virtual std::shared_ptr<Disk> diskFromName(std::string_view name) = 0;

  // Without a disk, or with one that is not `expected` any more, the completion brings a dissenter.
  // A completion may be empty.
  virtual void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                       Completion completion) = 0;
};

}  // namespace fillstation
