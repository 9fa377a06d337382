#include "PerfPorts.h"

#include <QProcess>
#include <charconv>
#include <thread>
#include <utility>

#include "Platform.h"
#include "RealMedium.h"
#include "Url.h"
#include "UsbUtil.h"

namespace fillstation::perf {

// A disk whose volume is mounted, whatever is asked of it.
class PerfPorts::OneDisk : public Disk {
 public:
  explicit OneDisk(std::string mountPath) : mountPath_(std::move(mountPath)) {}

  std::optional<DiskDescription> copyDescription() override {
    DiskDescription description;
    description.volumeName = PlatformValue::text("PLAYER");
    description.volumePath = PlatformValue::url(Url::fromPath(mountPath_, true).absoluteString());
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
  void mount(std::shared_ptr<Disk> disk, const DiskIdentity& /*expected*/,
             Completion completion) override {
    complete(std::move(disk), std::move(completion));
  }
  void unmount(std::shared_ptr<Disk> disk, const DiskIdentity& /*expected*/,
               Completion completion) override {
    complete(std::move(disk), std::move(completion));
  }
  void eject(std::shared_ptr<Disk> disk, const DiskIdentity& /*expected*/,
             Completion completion) override {
    complete(std::move(disk), std::move(completion));
  }

 private:
  void complete(std::shared_ptr<Disk> disk, Completion completion) {
    mainThread_.post([disk = std::move(disk), completion = std::move(completion)] {
      if (completion) {
        completion(disk, nullptr);
      }
    });
  }

  const std::vector<std::string>& mountPaths_;
  QtMainThread& mainThread_;
};

PerfPorts::PerfPorts(std::vector<std::string> mountPaths) : mountPaths_(std::move(mountPaths)) {
  Platform ports;
  ports.usbBus = &bus_;
  ports.createDiskSession = [this] { return std::make_shared<Session>(mountPaths_, mainThread_); };
  ports.scriptRunner = &runner_;
  ports.fileManager = &fileManager_;
  ports.mainThread = &mainThread_;
  ports.clock = &clock_;
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
  return std::make_shared<RealMedium>();
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

std::string PerfPorts::NoBus::portName(std::uint32_t /*handle*/) const { return "1-1"; }

}  // namespace fillstation::perf
