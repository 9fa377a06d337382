#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <stop_token>

namespace fillstation {

// Tells the whole program that it is ending: requested once, never taken back. Made by main()
// before everything else, and outlives all its users. Any thread.
class StopSource {
 public:
  // Made with token() and a function, which runs once on the requesting thread when the stop is
  // requested; if it already was, the constructor runs it. The destructor waits for the function on
  // another thread, so don't hold a lock that the function takes.
  using Callback = std::stop_callback<std::function<void()>>;

  // Ends every waitFor() and runs the callbacks, on the calling thread, before it returns; a second
  // request does nothing.
  void request() { source_.request_stop(); }

  bool requested() const { return source_.stop_requested(); }
  std::stop_token token() const { return source_.get_token(); }

  // Waits on the calling thread: true after the whole duration (at once when it is zero or less),
  // false, at once, when the stop is or was requested.
  bool waitFor(std::chrono::microseconds duration) const {
    std::mutex lock;
    std::condition_variable_any changed;
    std::unique_lock guard(lock);
    changed.wait_for(guard, token(), duration, [] { return false; });
    return !requested();
  }

 private:
  std::stop_source source_;
};

}  // namespace fillstation
