#include "UDisksSession.h"

#include <QTimer>
#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "Format.h"
#include "LinuxDisk.h"
#include "VolumeOwner.h"

namespace fillstation {

// One request to a disk, from its turn to its end; held by its pending callbacks. Main thread.
class UDisksSession::Request : public std::enable_shared_from_this<Request> {
 public:
  // None on success. Called once, at the end, possibly inside the call that begins the request.
  using Done = std::function<void(const std::optional<Dissenter>&)>;

  Request(const DiskServices& services, std::shared_ptr<LinuxDisk> disk, DiskIdentity expected,
          Done done)
      : services_(services),
        disk_(std::move(disk)),
        expected_(std::move(expected)),
        done_(std::move(done)) {}

  void mount() {
    const auto facts = expectedDisk();
    if (!facts) {
      return;
    }
    const auto volume = volumeOn(*facts, services_.known);
    if (!volume) {
      mountAgain("No file system has been found.");
    } else if (!mountPoints(volume->number).empty()) {
      end(nullptr);
    } else {
      services_.client.mount(volume->name, [self = shared_from_this()](const auto* failure) {
        self->mountAnswered(failure);
      });
    }
  }
  void unmount() {
    unmountAll([this] { end(nullptr); });
  }
  void eject() {
    unmountAll([this] { findDrive(); });
  }

 private:
  // The disk's present facts; none if it is no longer the expected disk, and then the request has
  // ended. Checked before anything that changes the disk.
  std::optional<DiskFacts> expectedDisk() {
    auto check = disk_->checkFor(expected_);
    if (!check.disk) {
      fail(check.objection);
    }
    return std::move(check.disk);
  }
  void fail(const std::string& reason) { done_(Dissenter{reason}); }
  void end(const UDisksFailure* failure) {
    done_(failure != nullptr ? std::optional(Dissenter{failure->text}) : std::nullopt);
  }

  void mountAnswered(const UDisksFailure* failure) {
    if (failure != nullptr && failure->error == UDisksError::notThere) {
      // UDisks2 knows a new file system later than udev does.
      mountAgain(failure->text);
    } else if (failure != nullptr && failure->error == UDisksError::alreadyMounted) {
      end(nullptr);
    } else {
      end(failure);
    }
  }
  // Looks again after a pause; after the last look, ends with the reason.
  void mountAgain(const std::string& reason) {
    if (pauses_ == services_.patience.pauses) {
      fail(reason);
      return;
    }
    ++pauses_;
    QTimer::singleShot(services_.patience.pause, [self = shared_from_this()] { self->mount(); });
  }

  // Each call removes one mount; then look again.
  void unmountAll(std::function<void()> next) {
    const auto facts = expectedDisk();
    if (!facts) {
      return;
    }
    std::size_t mounts = 0;
    std::string mounted;
    for (const auto& block : facts->blocks) {
      const std::size_t ofBlock = mountPoints(block.number).size();
      mounts += ofBlock;
      mounted = ofBlock > 0 ? block.name : mounted;
    }
    if (mounts == 0) {
      next();
    } else if (mounts >= mountsBefore_) {
      fail("The volume is still mounted.");
    } else {
      mountsBefore_ = mounts;
      services_.client.unmount(
          mounted, [self = shared_from_this(), next = std::move(next)](const auto* failure) {
            // Another program may have been faster.
            if (failure != nullptr && failure->error != UDisksError::notMounted) {
              self->end(failure);
            } else {
              self->unmountAll(next);
            }
          });
    }
  }

  void findDrive() {
    services_.client.findDrive(disk_->name(),
                               [self = shared_from_this()](const auto* failure, const auto& drive) {
                                 if (failure != nullptr) {
                                   self->end(failure);
                                 } else if (self->expectedDisk()) {
                                   self->ejectFrom(drive);
                                 }
                               });
  }
  void ejectFrom(const std::optional<DriveFacts>& drive) {
    if (!drive || !isAlone(*drive)) {
      stopUnit();
    } else if (drive->canPowerOff) {
      powerOff(*drive);
    } else {
      ejectDrive(*drive);
    }
  }
  // True if all block devices of this drive are below the expected USB device.
  bool isAlone(const DriveFacts& drive) const {
    return std::all_of(drive.blockNames.begin(), drive.blockNames.end(), [this](const auto& name) {
      return usbHandleAbove(name) == expected_.usbHandle;
    });
  }
  void powerOff(const DriveFacts& drive) {
    services_.client.powerOff(drive, [self = shared_from_this(), drive](const auto* failure) {
      if (failure == nullptr || !drive.ejectable) {
        self->end(failure);
      } else if (self->expectedDisk()) {
        self->ejectDrive(drive);
      }
    });
  }
  void ejectDrive(const DriveFacts& drive) {
    services_.client.eject(
        drive, [self = shared_from_this()](const auto* failure) { self->end(failure); });
  }
  void stopUnit() {
    services_.workers.spawn([self = shared_from_this()] {
      const bool stopped = self->disk_->stopUnit();
      self->services_.mainThread.post([self, stopped] {
        self->services_.log.write(formatText("%@ is not alone on its drive: unmounted, %@.\n",
                                             self->expected_.node,
                                             stopped ? "stopped by itself" : "not ejected"));
        self->end(nullptr);
      });
    });
  }

  const DiskServices& services_;
  const std::shared_ptr<LinuxDisk> disk_;
  const DiskIdentity expected_;
  const Done done_;
  int pauses_ = 0;
  std::size_t mountsBefore_ = std::numeric_limits<std::size_t>::max();
};

std::shared_ptr<Disk> UDisksSession::diskFromName(std::string_view name) {
  const std::string diskName = diskNameOf(name);
  if (!services_.known.remembers(diskName) && !readDisk(diskName)) {
    return nullptr;
  }
  return std::make_shared<LinuxDisk>(diskName, services_.known);
}

void UDisksSession::request(DiskRequest what, std::shared_ptr<Disk> disk,
                            const DiskIdentity& expected, Completion completion) {
  const auto complete =
      [disk, completion = std::move(completion)](const std::optional<Dissenter>& dissenter) {
        if (completion) {
          completion(disk, dissenter ? &*dissenter : nullptr);
        }
      };
  const auto run = what == DiskRequest::mount     ? &Request::mount
                   : what == DiskRequest::unmount ? &Request::unmount
                                                  : &Request::eject;
  const auto ours = std::dynamic_pointer_cast<LinuxDisk>(disk);
  services_.mainThread.post([this, run, ours, expected, complete] {
    if (!ours) {
      complete(Dissenter{"There is no such disk."});
      return;
    }
    order_.add(ours->sequence(),
               [this, run, ours, expected, complete](const DiskOrder::Ended& ended) {
                 const auto done = [this, complete, ended](const auto& dissenter) {
                   services_.mainThread.post([complete, ended, dissenter] {
                     complete(dissenter);
                     ended();
                   });
                 };
                 (*std::make_shared<Request>(services_, ours, expected, done).*run)();
               });
  });
}

}  // namespace fillstation
