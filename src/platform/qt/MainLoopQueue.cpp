#include "MainLoopQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QMetaObject>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace fillstation {

MainLoopQueue::MainLoopQueue()
    : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      notifier_(wake_.get(), QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { runPresent(); });
}

void MainLoopQueue::add(std::function<void()> callable) {
  {
    const std::scoped_lock guard(lock_);
    callables_.push_back(std::move(callable));
  }
  // When the lock is free, which the main loop wants at once.
  ::eventfd_write(wake_.get(), 1);
}

void MainLoopQueue::runPresent() {
  std::size_t present = 0;
  {
    const std::scoped_lock guard(lock_);
    present = callables_.size();
    calmIfEmpty();  // called late, for what has been run already
  }
  for (; present > 0; --present) {
    if (const auto callable = takeFirst()) {
      callable();
    }
  }
}

std::function<void()> MainLoopQueue::takeFirst() {
  const std::scoped_lock guard(lock_);
  std::function<void()> first;
  if (!callables_.empty()) {
    first = std::move(callables_.front());
    callables_.pop_front();
    calmIfEmpty();
  }
  return first;
}

void MainLoopQueue::calmIfEmpty() {
  if (callables_.empty()) {
    eventfd_t calls = 0;
    ::eventfd_read(wake_.get(), &calls);
  }
}

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
