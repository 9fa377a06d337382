#include "PerfPorts.h"

#include <QProcess>
#include <algorithm>
#include <charconv>
#include <thread>
#include <utility>

#include "Platform.h"
#include "Url.h"
#include "UsbUtil.h"

namespace fillstation::perf {

// A disk whose volume is always mounted.
class PerfPorts::OneDisk : public Disk {
 public:
  explicit OneDisk(std::string mountPath) : mountPath_(std::move(mountPath)) {}

  std::optional<DiskDescription> copyDescription() override {
    DiskDescription description;
    description.volumeName = "PLAYER";
    description.volumePath = Url::fromPath(mountPath_, true).absoluteString();
    return description;
  }

 private:
  std::string mountPath_;
};

class PerfPorts::Session : public DiskSession {
 public:
  Session(const std::vector<std::string>& mountPaths, QtMainThread& mainThread)
      : mountPaths_(mountPaths), mainThread_(mainThread) {}

  std::shared_ptr<Disk> diskFromName(std::string_view name) override {
    const std::string_view digits = name.substr(name.find_last_not_of("0123456789") + 1);
    std::size_t player = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), player);
    return std::make_shared<OneDisk>(mountPaths_.at(player));
  }
  void request(DiskRequest /*what*/, std::shared_ptr<Disk> disk, const DiskIdentity& /*expected*/,
               Completion completion) override {
    mainThread_.post([disk = std::move(disk), completion = std::move(completion)] {
      if (completion) {
        completion(disk, nullptr);
      }
    });
  }

 private:
  const std::vector<std::string>& mountPaths_;
  QtMainThread& mainThread_;
};

// A volume that is read back as the file manager wants it.
class PerfPorts::TimedVolume : public Volume {
 public:
  TimedVolume(Files& files, std::shared_ptr<Volume> volume)
      : files_(files), volume_(std::move(volume)) {}

  bool createDirectory(const std::string& destination) override {
    return volume_->createDirectory(destination);
  }
  bool copyItem(const std::string& source, const std::string& destination) override {
    return volume_->copyItem(source, destination);
  }
  bool flush() override { return volume_->flush(); }
  bool readBack(const CopiedItems& items) override { return files_.readBack(*volume_, items); }

 private:
  Files& files_;
  const std::shared_ptr<Volume> volume_;
};

PerfPorts::PerfPorts(std::vector<std::string> mountPaths, bool readsBack)
    : mountPaths_(std::move(mountPaths)), fileManager_(owner_, stop_, readsBack) {
  Platform ports;
  ports.usbBus = &bus_;
  ports.createDiskSession = [this] { return std::make_shared<Session>(mountPaths_, mainThread_); };
  ports.scriptRunner = &runner_;
  ports.fileManager = &fileManager_;
  ports.mainThread = &mainThread_;
  ports.clock = &clock_;
  ports.workspace = &workspace_;
  ports.workers = &workers_;
  ports.systemLog = &log_;
  platform() = ports;
  session = platform().createDiskSession();
}

PerfPorts::~PerfPorts() {
  stop_.request();
  workers_.joinAll();
  session = nullptr;
}

std::shared_ptr<VolumeMedium> PerfPorts::Owner::mediumOf(int /*rootDescriptor*/,
                                                         const std::string& /*mountPath*/,
                                                         const DiskIdentity& /*owner*/) {
  return std::make_shared<VolumeMedium>();
}

std::optional<std::string> PerfPorts::Owner::remount(const DiskIdentity& /*owner*/,
                                                     const std::string& mountPath) {
  QProcess shell;
  shell.start("/bin/sh", {"-ec",
                          "device=$(findmnt --noheadings --output SOURCE \"$0\")\n"
                          "umount \"$0\"\n"
                          "mount -o noatime \"$device\" \"$0\"",
                          QString::fromStdString(PosixVolume::withoutEndingSlash(mountPath))});
  const bool done = shell.waitForFinished(-1) && shell.exitCode() == 0;
  return done ? std::optional(mountPath) : std::nullopt;
}

std::shared_ptr<Volume> PerfPorts::Files::openVolume(const std::string& mountPath,
                                                     const DiskIdentity& owner) {
  auto volume = PosixFileManager::openVolume(mountPath, owner);
  return volume ? std::make_shared<TimedVolume>(*this, std::move(volume)) : nullptr;
}

bool PerfPorts::Files::readBack(Volume& volume, const CopiedItems& items) {
  if (!readsBack_) {
    return true;
  }
  const auto begin = std::chrono::steady_clock::now();
  const bool holds = volume.readBack(items);
  const std::scoped_lock guard(lock_);
  longest_ = std::max<Seconds>(longest_, std::chrono::steady_clock::now() - begin);
  return holds;
}

PerfPorts::Seconds PerfPorts::Files::longest() const {
  const std::scoped_lock guard(lock_);
  return longest_;
}

bool PerfPorts::NoPause::sleep(std::chrono::microseconds /*duration*/) {
  std::this_thread::yield();
  return true;
}

ScriptOutcome PerfPorts::YesRunner::run(std::string_view /*source*/,
                                        const DiskIdentity& /*target*/) {
  return {"", {}, {}};
}

bool PerfPorts::NoBus::open(std::string_view /*className*/) { return false; }

std::shared_ptr<UsbDeviceIterator> PerfPorts::NoBus::watchAttach(Notification /*notification*/) {
  return nullptr;
}

std::shared_ptr<UsbDeviceIterator> PerfPorts::NoBus::watchDetach(Notification /*notification*/) {
  return nullptr;
}

UsbPlace PerfPorts::NoBus::placeOf(std::uint32_t /*handle*/) const { return {"1-1"}; }

}  // namespace fillstation::perf
