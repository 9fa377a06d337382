#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Atomic.h"
#include "DiskSession.h"
#include "Number.h"

namespace fillstation {

// One detected player: its identity, its volume facts and the mount, unmount and eject requests on
// it. Made on the main thread from an attach record and always held by std::shared_ptr (requests
// keep their player until they have completed); every property may be read and set on any thread,
// each access atomic. Two players are equal exactly when both have a diskName and the texts are
// equal.
class TRPlayer : public std::enable_shared_from_this<TRPlayer> {
 public:
  // name and path "Empty", no size, not selected, not mounted, isEjecting true, no diskName.
  TRPlayer();

  bool isEqual(const TRPlayer& other) const;
  std::size_t hash() const;
  friend bool operator==(const TRPlayer& left, const TRPlayer& right) {
    return left.isEqual(right);
  }

  // Reads the volume's name and mount location again, waiting for them as
  // getDiskVolumeFromDriveName() does, and stores both results. True only if both were found. Any
  // thread.
  bool refresVolumeInfo();

  // Asynchronous requests to the shared disk session, from any thread. The completions run on the
  // main thread, call OnDeviceMounted() or OnDeviceUnMounted() whether or not the request
  // succeeded, and log it. eject() first unmounts; when that has completed, it requests the eject.
  void mount();
  void unmount();
  void eject();

  // Whether the device can be unplugged after an eject(): absent until the request has completed,
  // false if it was refused.
  std::optional<bool> isReleased() const { return isReleased_.get(); }
  void setIsReleased(bool value) { isReleased_.set(value); }

  // Set isMounted and log it. Main thread.
  void OnDeviceMounted();
  void OnDeviceUnMounted();

  // Display name; absent when a refresh found none.
  std::optional<std::string> name() const { return name_.get(); }
  void setName(std::optional<std::string> value) { name_.set(std::move(value)); }
  // Address text of the volume's mount location; absent when a refresh found none.
  std::optional<std::string> path() const { return path_.get(); }
  void setPath(std::optional<std::string> value) { path_.set(std::move(value)); }
  // The medium's size in bytes.
  Number size() const { return size_.get(); }
  void setSize(Number value) { size_.set(std::move(value)); }
  // Ticked for the next run; any number but 0 means yes.
  Number selected() const { return selected_.get(); }
  void setSelected(Number value) { selected_.set(std::move(value)); }
  // Device node path, the player's identity; an absent one equals nothing.
  std::optional<std::string> diskName() const { return diskName_.get(); }
  void setDiskName(std::optional<std::string> value) { diskName_.set(std::move(value)); }
  // UsbDevice::handle() of the attach event.
  std::int32_t IONumber() const { return IONumber_.get(); }
  void setIONumber(std::int32_t value) { IONumber_.set(value); }
  // True when the last completed request was a mount (not: the volume is mounted).
  bool isMounted() const { return isMounted_.get(); }
  void setIsMounted(bool value) { isMounted_.set(value); }
  // State that nothing reads.
  bool isEjecting() const { return isEjecting_.get(); }
  void setIsEjecting(bool value) { isEjecting_.set(value); }

  // The player's identity for guarded requests; the node is empty without a diskName.
  DiskIdentity identity() const;

 private:
  Atomic<bool> isMounted_{false};
  Atomic<bool> isEjecting_{true};
  Atomic<std::optional<bool>> isReleased_;
  Atomic<std::int32_t> IONumber_{0};
  Atomic<std::optional<std::string>> name_;
  Atomic<std::optional<std::string>> path_;
  Atomic<Number> size_;
  Atomic<Number> selected_;
  Atomic<std::optional<std::string>> diskName_;
};

// Completions of the requests above, on the main thread. They ignore the dissenter.
void mountCallback(const std::shared_ptr<Disk>& disk, const Dissenter* dissenter,
                   const std::shared_ptr<TRPlayer>& context);
void unmountCallback(const std::shared_ptr<Disk>& disk, const Dissenter* dissenter,
                     const std::shared_ptr<TRPlayer>& context);
// Requests the eject and logs that it was requested.
void unmountEjectCallback(const std::shared_ptr<Disk>& disk, const Dissenter* dissenter,
                          const std::shared_ptr<TRPlayer>& context);

}  // namespace fillstation

template <>
struct std::hash<fillstation::TRPlayer> {
  std::size_t operator()(const fillstation::TRPlayer& player) const { return player.hash(); }
};
