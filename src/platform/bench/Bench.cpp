#include "Bench.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <set>
#include <utility>
#include <variant>

#include "BenchFolder.h"

namespace fillstation {

namespace {

constexpr std::string_view kImageEnding = ".img";

// A bench player as a device on the bus.
class BenchUsbDevice : public UsbDevice {
 public:
  explicit BenchUsbDevice(std::shared_ptr<BenchPlayer> player) : player_(std::move(player)) {}

  bool conformsTo(std::string_view className) const override {
    return className == kUsbDeviceClass;
  }
  std::string className() const override { return kUsbDeviceClass; }
  std::string registryName() const override {
    const std::string product = player_->identity().product;
    return product.empty() ? kUsbDeviceClass : product;
  }
  std::uint32_t handle() const override { return player_->place().handle; }
  std::optional<std::string> searchDiskName() const override {
    return player_->searchDisk() ? std::optional(player_->place().diskName) : std::nullopt;
  }
  std::shared_ptr<UsbDeviceInterface> openInterface() const override {
    const BenchIdentity& says = player_->identity();
    const StringDescriptors::Texts texts{says.manufacturer, says.product, says.serial};
    return player_->isPresent() ? std::make_shared<StringDescriptors>(
                                      texts, static_cast<std::uint16_t>(says.release))
                                : nullptr;
  }

 private:
  std::shared_ptr<BenchPlayer> player_;
};

}  // namespace

BenchUsbBus::BenchUsbBus(std::string benchFolder, BenchDisks& disks, BenchServices services)
    : QtUsbBus(services.stop),
      folder_(std::move(benchFolder)),
      disks_(disks),
      services_(services) {}

bool BenchUsbBus::open(std::string_view className) {
  if (className != kUsbDeviceClass || !watchFolder()) {
    return false;
  }
  disks_.clear();
  scan();
  return true;
}

bool BenchUsbBus::watchFolder() {
  events_ = FileHandle(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (::inotify_add_watch(events_.get(), folder_.c_str(),
                          IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ONLYDIR) <
      0) {
    return false;
  }
  notifier_ = std::make_unique<QSocketNotifier>(events_.get(), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this] { readEvents(); });
  return true;
}

void BenchUsbBus::readEvents() {
  std::array<char, 16384> buffer{};
  const ssize_t count = ::read(events_.get(), buffer.data(), buffer.size());
  for (ssize_t at = 0; at < count;) {
    inotify_event event{};
    std::memcpy(&event, &buffer[static_cast<std::size_t>(at)], sizeof(event));
    at += static_cast<ssize_t>(sizeof(event));
    const std::string_view padded(buffer.data() + at, event.len);
    at += event.len;
    fileChanged(std::string(padded.substr(0, padded.find('\0'))),
                (event.mask & (IN_CLOSE_WRITE | IN_MOVED_TO)) != 0);
  }
}

void BenchUsbBus::scan() {
  std::set<std::string> names;
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(folder_, failed)) {
    names.insert(entry.path().filename());
  }
  for (const auto& name : names) {
    fileChanged(name, true);
  }
}

void BenchUsbBus::fileChanged(const std::string& fileName, bool come) {
  if (!fileName.ends_with(kImageEnding) || fileName.size() == kImageEnding.size()) {
    return;
  }
  const std::string name = fileName.substr(0, fileName.size() - kImageEnding.size());
  const std::string image = pluggedImage(folder_, name);
  const auto known = disks_.first([&image](const BenchPlayer& player) {
    return player.imagePath() == image && !player.hasLeft();
  });
  const bool isNews = !come || !known || !known->isPresent();
  // A file that came may have gone again: that is reported next.
  if (!isNews || (come && !std::filesystem::exists(image))) {
    return;
  }
  if (known) {
    leave(known);
  }
  if (come) {
    arrive(name);
  }
}

void BenchUsbBus::arrive(const std::string& name) {
  const auto attached = disks_.attach(name);
  if (const auto* reason = std::get_if<std::string>(&attached)) {
    services_.log.write(*reason + "\n");
    return;
  }
  const auto& player = std::get<std::shared_ptr<BenchPlayer>>(attached);
  disks_.arrived(player);
  handOutArrival(std::make_shared<BenchUsbDevice>(player));
}

void BenchUsbBus::leave(const std::shared_ptr<BenchPlayer>& player) {
  player->leave();
  disks_.left(player);
  // A player is forgotten when its leaving has been handled.
  handOutLeaving(std::make_shared<BenchUsbDevice>(player),
                 [&disks = disks_, player] { disks.forget(player); });
}

UsbPlace BenchUsbBus::placeOf(std::uint32_t handle) const {
  const auto player =
      disks_.first([handle](const BenchPlayer& each) { return each.place().handle == handle; });
  if (!player || player->hasLeft()) {
    return {};
  }
  return {"1-" + std::to_string(handle & 0xFFFF), player->identity().slot,
          player->identity().speed};
}

Bench::Bench(const std::string& folder, BenchServices services)
    : services_(services),
      disks_(folder, services),
      bus_(folder, disks_, services),
      fileManager_(disks_, services.stop,
                   [&mainThread = services_.mainThread] { mainThread.keepWindowAlive(); }) {}

void Bench::installInto(Platform& installed) {
  installed.usbBus = &bus_;
  // The bench outlives its sessions, which are all the same.
  installed.createDiskSession = [this] {
    return std::shared_ptr<DiskSession>(std::shared_ptr<void>(), &disks_);
  };
  installed.scriptRunner = &disks_;
  installed.fileManager = &fileManager_;
  installed.mainThread = &services_.mainThread;
  installed.clock = &services_.clock;
  installed.workers = &services_.workers;
  installed.systemLog = &services_.log;
}

}  // namespace fillstation
