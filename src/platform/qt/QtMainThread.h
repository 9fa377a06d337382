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

// The main thread as Qt's event loop, and pauses in real time. Callables run in whatever loop is
// running there, nested ones included; a pause there runs a nested loop, user input included. Made
// on the main thread when the application object exists; the stop source outlives it.
class QtMainThread : public MainThread, public Clock {
 public:
  // The pace of keepWindowAlive().
  explicit QtMainThread(const StopSource& stop,
                        std::chrono::milliseconds pace = std::chrono::milliseconds(50));
  ~QtMainThread() override;

  // A callable that has begun is waited for even when the stop is requested meanwhile (and the
  // answer is true); one that has not begun by then never begins.
  bool runAndWait(const std::function<void()>& callable) override;
  void post(std::function<void()> callable) override;
  void runPending() override;

  // For work that keeps the main thread, to be called again and again: once per pace, and not
  // before the work has lasted as long, the window is repainted and obeys closing. Everything else
  // waits for the main loop. Does nothing on another thread.
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
