#pragma once

#include <QSocketNotifier>
#include <deque>
#include <functional>
#include <mutex>

#include "FileHandle.h"
#include "StopSource.h"

namespace fillstation {

// Callables for the main loop from any thread. They run in the order of the calls, in whatever loop
// is running on the main thread, nested ones included, never inside add(). The other threads touch
// no object of Qt: a callable waits here and only a wake-up crosses, through a descriptor that the
// loop watches. Made and destroyed on the main thread; what is left then never runs.
class MainLoopQueue {
 public:
  MainLoopQueue();
  MainLoopQueue(const MainLoopQueue&) = delete;
  MainLoopQueue& operator=(const MainLoopQueue&) = delete;

  void add(std::function<void()> callable);

  // In between no callable is begun. Main thread.
  void hold() { notifier_.setEnabled(false); }
  void resume() { notifier_.setEnabled(true); }

 private:
  // Runs what is in the queue now; a callable's nested loop may have run some of it already.
  void runPresent();
  std::function<void()> takeFirst();
  // Ends the call to the loop when nothing waits any more; the lock is held.
  void calmIfEmpty();

  std::mutex lock_;
  std::deque<std::function<void()>> callables_;
  FileHandle wake_;  // calls the loop while callables wait, so nested loops too
  QSocketNotifier notifier_;
};

}  // namespace fillstation
