#pragma once

#include <QObject>
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
