#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace fillstation {

// The device node path of a disk's or partition's name, and the name in a path ("sdb" of
// "/dev/sdb"); a name stays itself.
inline constexpr std::string_view kDeviceFolder = "/dev/";
inline std::string nodeOf(const std::string& name) { return std::string(kDeviceFolder) + name; }
inline std::string diskNameOf(std::string_view node) {
  return std::string(node.substr(node.starts_with(kDeviceFolder) ? kDeviceFolder.size() : 0));
}

// Identifies the player of a destructive or state-changing request. The platform refuses to act on
// any other disk.
struct DiskIdentity {
  std::string node;             // device node path, "/dev/" and the disk's name
  std::uint32_t usbHandle = 0;  // UsbDevice::handle() of the device that the disk belongs to
};

// Facts about a disk at one moment; each value may be absent.
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

// The disk that had a name when the object was made. Any thread; lives as long as it is held.
class Disk {
 public:
  virtual ~Disk() = default;

  // The present facts, without waiting; none while the system has not looked at the disk yet. A
  // disk whose device has gone in the meantime has an empty description, not none.
  virtual std::optional<DiskDescription> copyDescription() = 0;
};

// Mount the disk's volume at the default place; unmount every volume of the disk; eject the device.
enum class DiskRequest { mount, unmount, eject };

// A connection to the system's disk service. Requests may be made on any thread. They are executed
// and completed strictly in the order of the requests of each disk, on the main thread, never
// inside the call, and without a time-out. A completion keeps its captures until it has run.
class DiskSession {
 public:
  // The disk of the request (null if none), and the dissenter, null on success.
  using Completion = std::function<void(const std::shared_ptr<Disk>&, const Dissenter*)>;

  virtual ~DiskSession() = default;

  // The disk of a name ("sdb") or device node path ("/dev/sdb"). There is a disk for every present
  // name, and for a remembered one while its departure is handled; otherwise null.
  virtual std::shared_ptr<Disk> diskFromName(std::string_view name) = 0;

  // Without a disk, or with one that is no longer `expected`, the completion gets a dissenter. A
  // completion may be empty.
  virtual void request(DiskRequest what, std::shared_ptr<Disk> disk, const DiskIdentity& expected,
                       Completion completion) = 0;
};

}  // namespace fillstation
