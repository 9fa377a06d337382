#pragma once

#include <chrono>
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
  explicit QtClock(const StopSource& stop);

  bool sleep(std::chrono::microseconds duration) override;

 private:
  void endPauses();
  void runLoopFor(std::chrono::microseconds duration);

  const std::thread::id main_ = std::this_thread::get_id();
  const StopSource& stop_;
  MainLoopQueue queue_;
  std::vector<QEventLoop*> pauses_;  // in progress on the main thread, the innermost last
  const StopSource::Callback onStop_;
};

}  // namespace fillstation
