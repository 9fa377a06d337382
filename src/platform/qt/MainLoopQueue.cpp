#include "MainLoopQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

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

}  // namespace fillstation
