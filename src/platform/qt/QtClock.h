#pragma once

#include <chrono>
#include <thread>

#include "Clock.h"
#include "StopSource.h"

namespace fillstation {

// Pauses in real time. On the main thread a pause runs a nested event loop, user input included. A
// duration of zero or less is no pause. Made on the main thread; the stop source outlives it.
class QtClock : public Clock {
 public:
  explicit QtClock(StopSource& stop) : stop_(stop) {}

  bool sleep(std::chrono::microseconds duration) override;

 private:
  void runLoopFor(std::chrono::microseconds duration);

  const std::thread::id main_ = std::this_thread::get_id();
  StopSource& stop_;
};

}  // namespace fillstation
