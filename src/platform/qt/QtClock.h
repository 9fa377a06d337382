#pragma once

#include <chrono>
#include <cstddef>
#include <thread>
#include <vector>

#include "Clock.h"
#include "MainLoopQueue.h"
#include "StopSource.h"

class QEventLoop;

namespace fillstation {

// Pauses in real time. On the main thread a pause runs a nested event loop, user input included. A
// duration of zero or less is no pause. Made on the main thread; the stop source outlives it.
class QtClock : public Clock {
 public:
  explicit QtClock(StopSource& stop);
  ~QtClock() override;
  QtClock(const QtClock&) = delete;
  QtClock& operator=(const QtClock&) = delete;

  bool sleep(std::chrono::microseconds duration) override;

 private:
  void endPauses();
  void runLoopFor(std::chrono::microseconds duration);

  const std::thread::id main_ = std::this_thread::get_id();
  StopSource& stop_;
  MainLoopQueue queue_;
  std::vector<QEventLoop*> pauses_;  // in progress on the main thread, the innermost last
  std::size_t onStop_;
};

}  // namespace fillstation
