#pragma once

#include <QSocketNotifier>
#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "FileHandle.h"
#include "MainThread.h"
#include "StopSource.h"

class QEventLoop;

namespace fillstation {

// Callables for the main loop from any thread. They run in the order of the calls, in the innermost
// loop of the main thread, never inside add(). The other threads use no object of Qt: a callable
// waits here, and only a wake-up crosses, through a descriptor that the loop watches. Made and
// destroyed on the main thread; callables that are left then never run.
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
  // Runs the callables in the queue; a callable's nested loop may have run some of them already.
  void runPresent();
  std::function<void()> takeFirst();
  // Ends the call to the loop when nothing waits any more; the lock is held.
  void calmIfEmpty();

  std::mutex lock_;
  std::deque<std::function<void()>> callables_;
  FileHandle wake_;  // calls the loop while callables wait, so nested loops too
  QSocketNotifier notifier_;
};

// The main thread as Qt's event loop, and pauses in real time. Callables run in the innermost loop
// there; a pause there runs a nested loop, user input included. Made on the main thread when the
// application object exists; the stop source outlives it.
class QtMainThread : public MainThread, public Clock {
 public:
  // The pace of keepWindowAlive().
  explicit QtMainThread(const StopSource& stop,
                        std::chrono::milliseconds pace = std::chrono::milliseconds(50));
  ~QtMainThread() override;

  // Waits for a callable that has begun, even if the stop is requested meanwhile, and returns true;
  // one that has not begun by then never begins.
  bool runAndWait(const std::function<void()>& callable) override;
  void post(std::function<void()> callable) override;
  void runPending() override;

  // Call it repeatedly during work that blocks the main thread: once per pace, but not before the
  // work has lasted that long, the window is repainted and can be closed. Everything else waits for
  // the main loop. Does nothing on another thread.
  void keepWindowAlive();

  // A duration of zero or less is no pause.
  bool sleep(std::chrono::microseconds duration) override;

  // True on the main thread.
  bool isHere() const { return std::this_thread::get_id() == main_; }

 private:
  class LongWork;

  const std::thread::id main_ = std::this_thread::get_id();
  const StopSource& stop_;
  const std::chrono::milliseconds pace_;
  MainLoopQueue queue_;
  std::unique_ptr<LongWork> longWork_;  // until the loop is back
  std::vector<QEventLoop*> pauses_;     // in progress on the main thread, the innermost last
  const StopSource::Callback onStop_;
};

}  // namespace fillstation
