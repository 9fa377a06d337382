#include "QtUsbBus.h"

#include <QMetaObject>
#include <QString>
#include <algorithm>
#include <vector>

#include "Utf8.h"

namespace fillstation {

namespace {

// The standard's values: from the device to the host, get a descriptor, a string descriptor.
constexpr std::uint8_t kDeviceToHost = 0x80;
constexpr std::uint8_t kGetDescriptor = 6;
constexpr std::uint8_t kStringDescriptor = 3;
// A descriptor's length is one byte, so two bytes of header and 126 code units are the most.
constexpr std::size_t kLongest = 254;

std::vector<std::uint8_t> descriptorOf(const std::string& text) {
  std::vector<std::uint8_t> bytes{0, kStringDescriptor};
  for (const QChar unit : QString::fromStdU32String(decodeUtf8(text).value_or(U""))) {
    bytes.push_back(unit.cell());
    bytes.push_back(unit.row());
  }
  bytes.resize(std::min(bytes.size(), kLongest));
  bytes[0] = static_cast<std::uint8_t>(bytes.size());
  return bytes;
}

}  // namespace

std::optional<std::uint32_t> StringDescriptors::deviceRequest(const UsbRequest& request,
                                                              std::span<std::uint8_t> buffer) {
  const std::size_t index = request.value & 0xFFU;
  if (request.requestType != kDeviceToHost || request.request != kGetDescriptor ||
      request.value >> 8U != kStringDescriptor || index < 1 || index > texts_.size() ||
      texts_[index - 1].empty()) {
    return std::nullopt;
  }
  const auto bytes = descriptorOf(texts_[index - 1]);
  const std::size_t count =
      std::min({bytes.size(), buffer.size(), static_cast<std::size_t>(request.length)});
  std::copy_n(bytes.begin(), count, buffer.begin());
  return static_cast<std::uint32_t>(count);
}

struct QtUsbBus::Event {
  std::shared_ptr<UsbDevice> device;
  std::function<void()> handled;
};

// Arrivals or departures: the iterator with the devices, and the function to notify.
struct QtUsbBus::Side : UsbDeviceIterator {
  std::shared_ptr<UsbDevice> next() override {
    if (waiting.empty()) {
      endWalk();
      return nullptr;
    }
    yielded.push_back(std::move(waiting.front()));
    waiting.pop_front();
    return yielded.back().device;
  }

  void endWalk() {
    isWalked = true;
    const auto handled = std::exchange(yielded, {});
    if (bus == nullptr) {
      return;
    }
    for (const auto& event : handled) {
      event.handled();
    }
    bus->schedule();
  }

  QtUsbBus* bus = nullptr;  // null once it has gone: the iterator may still be walked
  Notification notification;
  std::deque<Event> waiting;
  std::vector<Event> yielded;
  bool isWalked = true;  // false between the hand-over of the iterator and the end of the walk
};

QtUsbBus::QtUsbBus(const StopSource& stop)
    : stop_(stop), attach_(std::make_shared<Side>()), detach_(std::make_shared<Side>()) {
  attach_->bus = this;
  detach_->bus = this;
}

QtUsbBus::~QtUsbBus() {
  attach_->bus = nullptr;
  detach_->bus = nullptr;
}

std::shared_ptr<UsbDeviceIterator> QtUsbBus::watchAttach(Notification notification) {
  return watch(attach_, std::move(notification));
}

std::shared_ptr<UsbDeviceIterator> QtUsbBus::watchDetach(Notification notification) {
  return watch(detach_, std::move(notification));
}

std::shared_ptr<UsbDeviceIterator> QtUsbBus::watch(const std::shared_ptr<Side>& side,
                                                   Notification notification) {
  side->notification = std::move(notification);
  side->isWalked = false;
  return side;
}

void QtUsbBus::handOutArrival(std::shared_ptr<UsbDevice> device) {
  Event event{std::move(device), [] {}};
  if (attach_->notification) {
    deliver(*attach_, std::move(event));
  } else {
    attach_->waiting.push_back(std::move(event));
  }
}

void QtUsbBus::handOutLeaving(std::shared_ptr<UsbDevice> device, std::function<void()> handled) {
  deliver(*detach_, {std::move(device), std::move(handled)});
}

void QtUsbBus::deliver(Side& side, Event event) {
  post([&side, event = std::move(event)] {
    side.waiting.push_back(event);
    if (side.notification) {
      side.isWalked = false;
      side.notification(side);
    }
  });
}

void QtUsbBus::post(std::function<void()> event) {
  events_.push_back(std::move(event));
  schedule();
}

void QtUsbBus::resume() {
  --held_;
  schedule();
}

// Looks at the waiting events when another one may be delivered; a superfluous look is harmless.
void QtUsbBus::schedule() {
  QMetaObject::invokeMethod(
      &context_, [this] { runNext(); }, Qt::QueuedConnection);
}

void QtUsbBus::runNext() {
  const bool isWalked = attach_->isWalked && detach_->isWalked;
  if (handling_ || !isWalked || held_ > 0 || events_.empty() || stop_.requested()) {
    return;
  }
  const auto event = std::move(events_.front());
  events_.pop_front();
  handling_ = true;
  event();
  handling_ = false;
  schedule();
}

}  // namespace fillstation
