#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "LongWork.h"
#include "MainLoopQueue.h"
#include "MainThread.h"
#include "StopSource.h"

namespace fillstation {

// The main thread as Qt's event loop. Callables run in whatever loop is running there, nested ones
// included. Made on the main thread when the application object exists; the stop source outlives
// it.
class QtMainThread : public MainThread {
 public:
  // The pace of keepWindowAlive().
  explicit QtMainThread(const StopSource& stop,
                        std::chrono::milliseconds pace = std::chrono::milliseconds(50))
      : stop_(stop), pace_(pace) {}

  // A callable that has begun is waited for even when the stop is requested meanwhile (and the
  // answer is true); one that has not begun by then never begins.
  bool runAndWait(const std::function<void()>& callable) override;
  void runPending() override;

  // Has the callable run from the main loop, never inside this call, in the order of the calls;
  // dropped once the stop is requested. Any thread.
  void post(std::function<void()> callable);

  // For work that keeps the main thread, to be called again and again: once per pace, and not
  // before the work has lasted as long, the window is repainted and obeys closing (see LongWork).
  // Everything else waits for the main loop. Does nothing on another thread.
  void keepWindowAlive();

  // True on the main thread.
  bool isHere() const { return std::this_thread::get_id() == main_; }

 private:
  struct HandOver;

  const std::thread::id main_ = std::this_thread::get_id();
  const StopSource& stop_;
  const std::chrono::milliseconds pace_;
  MainLoopQueue queue_;
  std::unique_ptr<LongWork> longWork_;  // until the loop is back
};

}  // namespace fillstation
