#include "TestUsbBus.h"

#include <algorithm>
#include <utility>

namespace fillstation::test {

std::optional<std::uint32_t> TestUsbInterface::deviceRequest(const UsbRequest& request,
                                                             std::span<std::uint8_t> buffer) {
  requests.push_back(request);
  bufferSizes.push_back(buffer.size());
  const auto found = descriptors.find(static_cast<std::uint8_t>(request.value & 0xFFU));
  if (found == descriptors.end()) {
    return std::nullopt;
  }
  const std::size_t count =
      std::min({found->second.size(), buffer.size(), std::size_t{request.length}});
  std::copy_n(found->second.begin(), count, buffer.begin());
  return reportedCount.value_or(static_cast<std::uint32_t>(count));
}

std::vector<std::uint8_t> TestUsbInterface::descriptorOf(const std::string& text) {
  std::vector<std::uint8_t> bytes = {static_cast<std::uint8_t>(2 + 2 * text.size()), 3};
  for (const char character : text) {
    bytes.push_back(static_cast<std::uint8_t>(character));
    bytes.push_back(0);
  }
  return bytes;
}

bool TestUsbDevice::conformsTo(std::string_view className) const {
  return std::find(conforming.begin(), conforming.end(), className) != conforming.end();
}

std::optional<std::string> TestUsbDevice::searchDiskName() const {
  ++searches;
  return search ? search(searches) : diskName;
}

class TestUsbBus::Iterator : public UsbDeviceIterator {
 public:
  Iterator(TestUsbBus& bus, std::deque<std::shared_ptr<TestUsbDevice>> devices)
      : devices_(std::move(devices)), bus_(bus) {}

  std::shared_ptr<UsbDevice> next() override {
    if (devices_.empty()) {
      walked_ = true;
      bus_.schedule();
      return nullptr;
    }
    auto device = std::move(devices_.front());
    devices_.pop_front();
    return device;
  }

  bool walked() const { return walked_; }
  void add(std::shared_ptr<TestUsbDevice> device) {
    devices_.push_back(std::move(device));
    walked_ = false;
  }

 private:
  std::deque<std::shared_ptr<TestUsbDevice>> devices_;
  TestUsbBus& bus_;
  bool walked_ = false;
};

bool TestUsbBus::open(std::string_view className) {
  calls.push_back("open " + std::string(className));
  return opens;
}

std::shared_ptr<UsbDeviceIterator> TestUsbBus::watchAttach(Notification notification) {
  calls.emplace_back("watchAttach");
  if (!attachRegisters) {
    return nullptr;
  }
  attachWatched_ = true;
  return watch(attach_, std::move(notification), std::exchange(present_, {}));
}

std::shared_ptr<UsbDeviceIterator> TestUsbBus::watchDetach(Notification notification) {
  calls.emplace_back("watchDetach");
  return detachRegisters ? watch(detach_, std::move(notification), {}) : nullptr;
}

void TestUsbBus::hold() {
  calls.emplace_back("hold");
  ++holds_;
}

void TestUsbBus::resume() {
  calls.emplace_back("resume");
  --holds_;
  schedule();
}

void TestUsbBus::plug(std::shared_ptr<TestUsbDevice> device) {
  if (!attachWatched_) {
    present_.push_back(std::move(device));
    return;
  }
  events_.push_back({std::move(device), true});
  schedule();
}

void TestUsbBus::unplug(std::shared_ptr<TestUsbDevice> device) {
  std::erase(present_, device);
  events_.push_back({std::move(device), false});
  schedule();
}

void TestUsbBus::watchMedia(std::function<void()> notification) {
  mediaNotification_ = std::move(notification);
}

std::optional<std::int64_t> TestUsbBus::takeMedium(const DiskIdentity& player) {
  const auto medium = newMedia_.extract(player.node);
  return medium.empty() ? std::nullopt : std::optional(medium.mapped());
}

void TestUsbBus::changeMedium(const std::string& node, std::int64_t size) {
  newMedia_[node] = size;
  events_.push_back({nullptr, false});
  schedule();
}

std::shared_ptr<UsbDeviceIterator> TestUsbBus::watch(
    Watch& watch, Notification notification, std::deque<std::shared_ptr<TestUsbDevice>> devices) {
  auto iterator = std::make_shared<Iterator>(*this, std::move(devices));
  watch = {std::move(notification), iterator};
  return iterator;
}

void TestUsbBus::schedule() {
  mainThread_.post([this] { deliver(); });
}

void TestUsbBus::deliver() {
  if (delivering_ || holds_ > 0 || events_.empty()) {
    return;
  }
  const bool isMedium = events_.front().device == nullptr;
  const auto iterator = isMedium ? nullptr : readyIterator();
  if (!isMedium && !iterator) {
    return;
  }
  const Event event = std::move(events_.front());
  events_.pop_front();
  delivering_ = true;
  if (isMedium) {
    mediaNotification_();
  } else {
    iterator->add(event.device);
    (event.inserted ? attach_ : detach_).notification(*iterator);
    if (onHandled) {
      onHandled(*event.device, event.inserted);
    }
  }
  delivering_ = false;
  schedule();
}

UsbPlace TestUsbBus::placeOf(std::uint32_t handle) const {
  const auto found = places.find(handle);
  return found != places.end() ? found->second : UsbPlace();
}

std::shared_ptr<TestUsbBus::Iterator> TestUsbBus::readyIterator() {
  auto iterator = (events_.front().inserted ? attach_ : detach_).iterator.lock();
  return iterator && iterator->walked() ? iterator : nullptr;
}

}  // namespace fillstation::test
