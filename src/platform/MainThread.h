#pragma once

#include <functional>

namespace fillstation {

// The thread that runs the window, from the other threads' point of view. Lives as long as the
// program.
class MainThread {
 public:
  virtual ~MainThread() = default;

  // Runs the callable on the main thread and returns when it has returned; calls from one thread
  // run in order. On the main thread itself the callable simply runs. False when the program is
  // ending and the callable was not run. Any thread.
  virtual bool runAndWait(const std::function<void()>& callable) = 0;

  // One pass over the events that are pending now. Main thread.
  virtual void runPending() = 0;
};

}  // namespace fillstation
