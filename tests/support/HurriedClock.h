#pragma once

#include <QCoreApplication>
#include <atomic>
#include <cstdint>
#include <thread>

#include "QtMainThread.h"

namespace fillstation::test {

// Pauses take no time, but whatever the main thread has to do by then is done. Made on the main
// thread; lives longer than the threads that pause.
class HurriedClock : public Clock {
 public:
  explicit HurriedClock(QtMainThread& mainThread) : mainThread_(mainThread) {}

  bool sleep(std::chrono::microseconds /*duration*/) override {
    ++pauses_;
    if (std::this_thread::get_id() == main_) {
      QCoreApplication::processEvents();
      return true;
    }
    return mainThread_.runAndWait([] {});
  }

  // How many pauses there were.
  std::int64_t pauses() const { return pauses_.load(); }

 private:
  QtMainThread& mainThread_;
  const std::thread::id main_ = std::this_thread::get_id();
  std::atomic<std::int64_t> pauses_ = 0;
};

}  // namespace fillstation::test
