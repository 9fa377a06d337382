#pragma once

#include <chrono>
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

  // Runs the callable from the main loop, never inside this call, in the order of the calls; drops
  // it when the program is ending. Any thread.
  virtual void post(std::function<void()> callable) = 0;

  // One pass over the pending events. Main thread.
  virtual void runPending() = 0;
};

// The pauses of the program. On the main thread a pause keeps the window alive; on any other it is
// an interruptible wait. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  // Pauses for the duration; returns false at once when the program is ending.
  virtual bool sleep(std::chrono::microseconds duration) = 0;

  // A time that never goes back, for measuring durations.
  virtual std::chrono::steady_clock::time_point now() const {
    return std::chrono::steady_clock::now();
  }
};

// The program's background threads, and the token that ends them. Any thread; lives as long as the
// program.
class Workers {
 public:
  virtual ~Workers() = default;

  // Runs the body on a new thread and returns at once.
  virtual void spawn(std::function<void()> body) = 0;

  // True when the program is ending: then no new command, directory or file is begun.
  virtual bool stopping() const = 0;
};

}  // namespace fillstation
