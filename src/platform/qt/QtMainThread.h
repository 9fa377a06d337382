#pragma once

#include <functional>
#include <thread>

#include "MainLoopQueue.h"
#include "MainThread.h"
#include "StopSource.h"

namespace fillstation {

// The main thread as Qt's event loop. Callables run in whatever loop is running there, nested ones
// included. Made on the main thread when the application object exists; the stop source outlives
// it.
class QtMainThread : public MainThread {
 public:
  explicit QtMainThread(StopSource& stop) : stop_(stop) {}

  // A callable that has begun is waited for even when the stop is requested meanwhile (and the
  // answer is true); one that has not begun by then never begins.
  bool runAndWait(const std::function<void()>& callable) override;
  void runPending() override;

  // Has the callable run from the main loop, never inside this call, in the order of the calls;
  // dropped once the stop is requested. Any thread.
  void post(std::function<void()> callable);

  // True on the main thread.
  bool isHere() const { return std::this_thread::get_id() == main_; }

 private:
  struct HandOver;

  const std::thread::id main_ = std::this_thread::get_id();
  StopSource& stop_;
  MainLoopQueue queue_;
};

}  // namespace fillstation
