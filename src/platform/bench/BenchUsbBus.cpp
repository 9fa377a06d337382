#include "BenchUsbBus.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <functional>
#include <utility>
#include <variant>
#include <vector>

#include "BenchFolder.h"
#include "BenchUsbDevice.h"

namespace fillstation {

namespace {

constexpr std::string_view kImageEnding = ".img";

}  // namespace

// Arrivals or leavings: the iterator that yields them and the notification that tells of them.
class BenchUsbBus::Side : public UsbDeviceIterator {
 public:
  std::shared_ptr<UsbDevice> next() override {
    if (waiting_.empty()) {
      walked_ = true;
      const auto handled = std::exchange(yielded_, {});
      if (onWalked) {
        onWalked(handled);
      }
      return nullptr;
    }
    yielded_.push_back(waiting_.front());
    waiting_.pop_front();
    return std::make_shared<BenchUsbDevice>(yielded_.back());
  }

  void add(std::shared_ptr<BenchPlayer> player) { waiting_.push_back(std::move(player)); }
  // From now on the iterator has to be walked.
  void begin() { walked_ = false; }
  bool isWalked() const { return walked_; }

  Notification notification;
  // Called at the end of each walk with what it has yielded.
  std::function<void(const std::vector<std::shared_ptr<BenchPlayer>>&)> onWalked;

 private:
  std::deque<std::shared_ptr<BenchPlayer>> waiting_;
  std::vector<std::shared_ptr<BenchPlayer>> yielded_;
  bool walked_ = true;
};

BenchUsbBus::BenchUsbBus(std::string benchFolder, BenchPlayers& players, BenchVolumes& volumes,
                         BenchServices services)
    : folder_(std::move(benchFolder)),
      players_(players),
      volumes_(volumes),
      services_(services),
      queue_(services.stop),
      folderWatch_(folder_,
                   [this](const std::string& name, bool come) { fileChanged(name, come); }),
      attach_(std::make_shared<Side>()),
      detach_(std::make_shared<Side>()) {
  attach_->onWalked = [this](const auto&) { updateBusy(); };
  // A player whose leaving has been handled is remembered no longer.
  detach_->onWalked = [this](const auto& handled) {
    for (const auto& player : handled) {
      players_.forget(player);
    }
    updateBusy();
  };
}

BenchUsbBus::~BenchUsbBus() {
  attach_->onWalked = nullptr;
  detach_->onWalked = nullptr;
}

bool BenchUsbBus::open(std::string_view className) {
  if (className != kUsbDeviceClass || !folderWatch_.open()) {
    return false;
  }
  volumes_.clear();
  scan();
  return true;
}

void BenchUsbBus::scan() {
  std::vector<std::string> names;
  std::error_code failed;
  for (const auto& entry : std::filesystem::directory_iterator(folder_, failed)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
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
  const auto known = players_.byImage(image);
  const bool isNews = !come || !known || !known->isPresent();
  // What came may be gone by now: its going is told next.
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
  const auto attached = players_.attach(folder_, name);
  if (const auto* reason = std::get_if<std::string>(&attached)) {
    services_.log.write(*reason + "\n");
    return;
  }
  const auto& player = std::get<std::shared_ptr<BenchPlayer>>(attached);
  volumes_.arrived(player);
  if (!attach_->notification) {
    attach_->add(player);
    return;
  }
  queue_.post([this, player] {
    attach_->add(player);
    attach_->begin();
    attach_->notification(*attach_);
    updateBusy();
  });
}

void BenchUsbBus::leave(const std::shared_ptr<BenchPlayer>& player) {
  player->leave();
  volumes_.left(player);
  queue_.post([this, player] {
    detach_->add(player);
    if (detach_->notification) {
      detach_->begin();
      detach_->notification(*detach_);
      updateBusy();
    }
  });
}

std::shared_ptr<UsbDeviceIterator> BenchUsbBus::watch(const std::shared_ptr<Side>& side,
                                                      Notification notification) {
  side->notification = std::move(notification);
  side->begin();
  updateBusy();
  return side;
}

std::shared_ptr<UsbDeviceIterator> BenchUsbBus::watchAttach(Notification notification) {
  return watch(attach_, std::move(notification));
}

std::shared_ptr<UsbDeviceIterator> BenchUsbBus::watchDetach(Notification notification) {
  return watch(detach_, std::move(notification));
}

std::string BenchUsbBus::portName(std::uint32_t handle) const {
  const auto player = players_.byHandle(handle);
  return player && !player->hasLeft() ? player->place().port : std::string();
}

void BenchUsbBus::updateBusy() { queue_.setBusy(!attach_->isWalked() || !detach_->isWalked()); }

}  // namespace fillstation
