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

// One player from its plugging in to its leaving: its image, which is the disk, and everything that
// is known of it. A player that comes back is another one. Any thread; always held by
// std::shared_ptr.
class BenchPlayer : public Disk {
 public:
  // What the bus assigns to an attach.
  struct Place {
    std::string diskName;      // "vp0", empty for a device without a disk
    std::uint32_t handle = 0;  // UsbDevice::handle()
  };

  // The image's path and the descriptor that is open on it.
  BenchPlayer(std::string imagePath, FileHandle image, BenchIdentity identity, Place place);

  const std::string& imagePath() const { return imagePath_; }
  const BenchIdentity& identity() const { return identity_; }
  const BenchFaults& faults() const { return identity_.faults; }
  const Place& place() const { return place_; }
  // The device node path.
  std::string node() const { return nodeOf(place_.diskName); }
  int image() const { return image_.get(); }

  // Volume facts are read from the image: none while the file system that is there now has not been
  // looked at, no path while nothing is mounted. An ejected player says nothing. The size is that
  // of the medium when it was plugged in.
  std::optional<DiskDescription> copyDescription() override;

  // True while the image lies where it was plugged in.
  bool isPresent() const;
  // True while it is present and the identity names it.
  bool is(const DiskIdentity& expected) const;

  // Ends the presence for good; whether that has happened.
  void leave() { gone_.store(true); }
  bool hasLeft() const { return gone_.load(); }
  // Takes the image out of the bench folder, into the folder "pulled" in it.
  void pull() const;
  // Pulls when this is the moment for it.
  void pullAt(PullMoment moment) const;

  // Searches for the disk: whether there is one. Once the player has left: whether it was found.
  bool searchDisk();

  // What keeps a request and a command apart.
  std::recursive_mutex& access() { return access_; }

  // The mounted volume, null for none.
  std::shared_ptr<BenchVolume> volume() const { return volume_.get(); }
  void setVolume(std::shared_ptr<BenchVolume> volume) { volume_.set(std::move(volume)); }
  // Says whether the system has looked at the file system that the medium has now.
  void setKnown(bool known) { known_.store(known); }
  // Whether the player was ejected: it has no medium then until it is plugged in anew.
  bool isEjected() const { return ejected_.load(); }
  void setEjected() { ejected_.store(true); }

  // Counts bytes copied onto the player; how many there are now.
  std::int64_t addCopied(std::int64_t bytes) { return copied_ += bytes; }
  // Whether the medium refuses every change by now.
  bool isReadOnly() const;
  // Makes the image what a medium that lies really holds of what was copied; false when the image
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
