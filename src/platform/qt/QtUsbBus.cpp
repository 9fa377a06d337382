#include "QtUsbBus.h"

#include <QMetaObject>
#include <utility>
#include <vector>

namespace fillstation {

struct QtUsbBus::Event {
  std::shared_ptr<UsbDevice> device;
  std::function<void()> handled;
};

// Arrivals or leavings: the iterator that yields the devices, and whom to notify.
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
  post([this, &side, event = std::move(event)] {
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

// A look at the events for each change of what they wait for; a look that comes in vain is
// harmless.
void QtUsbBus::schedule() {
  QMetaObject::invokeMethod(
      &context_, [this] { runNext(); }, Qt::QueuedConnection);
}

void QtUsbBus::runNext() {
  const bool walking = !attach_->isWalked || !detach_->isWalked;
  if (handling_ || walking || held_ > 0 || events_.empty() || stop_.requested()) {
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
