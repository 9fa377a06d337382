#pragma once

#include <QObject>
#include <deque>
#include <functional>

#include "StopSource.h"

namespace fillstation {

// The order in which a bus delivers its events: one at a time, first come first served, from the
// main loop. None begins inside post(), nor while another is being handled (also not when its
// handler pauses in a nested loop), nor while the queue is held or busy, nor once the stop is
// requested. Main thread; the stop source outlives it. Events that are left when it is destroyed
// never run.
class UsbEventQueue {
 public:
  explicit UsbEventQueue(const StopSource& stop) : stop_(stop) {}

  void post(std::function<void()> event);

  // While held (calls nest) events wait.
  void hold();
  void resume();

  // Busy counts like an event that is being handled: set while somebody walks what was present at
  // the beginning. Doesn't nest.
  void setBusy(bool busy);

 private:
  void schedule();
  void runNext();

  const StopSource& stop_;
  std::deque<std::function<void()>> events_;
  int held_ = 0;
  bool busy_ = false;
  bool handling_ = false;
  QObject context_;
};

}  // namespace fillstation
