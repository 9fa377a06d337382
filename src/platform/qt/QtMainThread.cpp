#include "QtMainThread.h"

#include <QCoreApplication>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace fillstation {

// One callable on its way, shared by the thread that waits and the event that runs it. Whoever
// takes the lock first decides whether it begins.
struct QtMainThread::HandOver {
  enum class State { waiting, begun, returned, dropped };

  bool begin(const StopSource& stop) {
    const std::scoped_lock guard(lock);
    if (state == State::waiting && !stop.requested()) {
      state = State::begun;
    }
    return state == State::begun;
  }

  // The waiting thread is woken when the lock is free, so that it need not sleep a second time.
  void finish() {
    {
      const std::scoped_lock guard(lock);
      state = State::returned;
    }
    changed.notify_all();
  }

  void drop() {
    const std::scoped_lock guard(lock);
    if (state == State::waiting) {
      state = State::dropped;
      changed.notify_all();
    }
  }

  bool waitForReturn() {
    std::unique_lock guard(lock);
    changed.wait(guard, [this] { return state == State::returned || state == State::dropped; });
    return state == State::returned;
  }

  std::mutex lock;
  std::condition_variable changed;
  State state = State::waiting;
};

bool QtMainThread::runAndWait(const std::function<void()>& callable) {
  if (isHere()) {
    callable();
    return true;
  }
  const auto handOver = std::make_shared<HandOver>();
  const StopSource::Callback onStop(stop_.token(), [handOver] { handOver->drop(); });
  // The callable itself stays with the caller, who waits for as long as it runs.
  queue_.add([this, handOver, &callable] {
    if (handOver->begin(stop_)) {
      callable();
      handOver->finish();
    }
  });
  return handOver->waitForReturn();
}

void QtMainThread::runPending() { QCoreApplication::processEvents(); }

void QtMainThread::post(std::function<void()> callable) {
  queue_.add([this, callable = std::move(callable)] {
    if (!stop_.requested()) {
      callable();
    }
  });
}

void QtMainThread::keepWindowAlive() {
  if (!isHere()) {
    return;
  }
  if (!longWork_) {
    longWork_ = std::make_unique<LongWork>(queue_, pace_);
    queue_.add([this] { longWork_ = nullptr; });
  }
  longWork_->step();
}

}  // namespace fillstation
