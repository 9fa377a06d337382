#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Atomic.h"
#include "DiskSession.h"
#include "FileHandle.h"
#include "Scenario.h"

namespace fillstation {

class BenchVolume;

// One player from its arrival to its departure: its image, which is the disk, and all facts about
// it. A player that returns is a new object. Any thread; always held by std::shared_ptr.
class BenchPlayer : public Disk {
 public:
  // The values that the bus assigns at an attach.
  struct Place {
    std::string diskName;      // "vp0", empty for a device without a disk
    std::uint32_t handle = 0;  // UsbDevice::handle()
  };

  // The image's path, and the open descriptor of it.
  BenchPlayer(std::string imagePath, FileHandle image, BenchIdentity identity, Place place);

  const std::string& imagePath() const { return imagePath_; }
  const BenchIdentity& identity() const { return identity_; }
  const BenchFaults& faults() const { return identity_.faults; }
  const Place& place() const { return place_; }
  // The device node path.
  std::string node() const { return nodeOf(place_.diskName); }
  int image() const { return image_.get(); }

  // The volume facts are read from the image: none while the present file system has not been
  // looked at, no path while it is not mounted. An ejected player has no facts. The size is that of
  // the medium when it was plugged in.
  std::optional<DiskDescription> copyDescription() override;

  // True while the image is where it was plugged in.
  bool isPresent() const;
  // True while it is present and has this identity.
  bool is(const DiskIdentity& expected) const;

  // Ends the presence; whether it has ended.
  void leave() { gone_.store(true); }
  bool hasLeft() const { return gone_.load(); }
  // Moves the image from the bench folder to its folder "pulled".
  void pull() const;
  // Pulls when this is the moment for it.
  void pullAt(PullMoment moment) const;

  // Searches for the disk; returns whether there is one. After the player has left: whether it was
  // found before.
  bool searchDisk();

  // Keeps requests and commands apart.
  std::recursive_mutex& access() { return access_; }

  // The mounted volume, null for none.
  std::shared_ptr<BenchVolume> volume() const { return volume_.get(); }
  void setVolume(std::shared_ptr<BenchVolume> volume) { volume_.set(std::move(volume)); }
  // Whether the system has looked at the medium's present file system.
  void setKnown(bool known) { known_.store(known); }
  // Whether the player was ejected: then it has no medium until it is plugged in again.
  bool isEjected() const { return ejected_.load(); }
  void setEjected() { ejected_.store(true); }

  // Adds to the number of bytes copied to the player; returns the sum.
  std::int64_t addCopied(std::int64_t bytes) { return copied_ += bytes; }
  // Whether the medium refuses every change now.
  bool isReadOnly() const;
  // Changes the image into what a lying medium really holds after the copy; false if the image
  // can't be changed.
  bool applyLie() const;

 private:
  const std::string imagePath_;
  const FileHandle image_;
  const BenchIdentity identity_;
  const Place place_;
  const std::int64_t mediaSize_;
  std::recursive_mutex access_;
  Atomic<std::shared_ptr<BenchVolume>> volume_;
  std::atomic<bool> gone_ = false;
  std::atomic<bool> known_ = false;
  std::atomic<bool> ejected_ = false;
  std::atomic<bool> found_ = false;
  std::atomic<std::int64_t> copied_ = 0;
};

}  // namespace fillstation
