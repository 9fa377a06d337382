#include "UsbEventQueue.h"

#include <QMetaObject>
#include <utility>

namespace fillstation {

void UsbEventQueue::post(std::function<void()> event) {
  events_.push_back(std::move(event));
  schedule();
}

void UsbEventQueue::hold() { ++held_; }

void UsbEventQueue::resume() {
  --held_;
  schedule();
}

void UsbEventQueue::setBusy(bool busy) {
  busy_ = busy;
  schedule();
}

// A look at the queue for each change of what it depends on; a look that comes in vain is harmless.
void UsbEventQueue::schedule() {
  QMetaObject::invokeMethod(
      &context_, [this] { runNext(); }, Qt::QueuedConnection);
}

void UsbEventQueue::runNext() {
  if (handling_ || busy_ || held_ > 0 || events_.empty() || stop_.requested()) {
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
