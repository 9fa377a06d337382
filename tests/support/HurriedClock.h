#pragma once

#include <QCoreApplication>
#include <thread>

#include "Clock.h"
#include "QtMainThread.h"

namespace fillstation::test {

// Pauses take no time, but whatever the main thread has to do by then is done. Made on the main
// thread; any thread.
class HurriedClock : public Clock {
 public:
  explicit HurriedClock(QtMainThread& mainThread) : mainThread_(mainThread) {}

  bool sleep(std::chrono::microseconds /*duration*/) override {
    if (std::this_thread::get_id() == main_) {
      QCoreApplication::processEvents();
      return true;
    }
    return mainThread_.runAndWait([] {});
  }

 private:
  QtMainThread& mainThread_;
  const std::thread::id main_ = std::this_thread::get_id();
};

}  // namespace fillstation::test
