#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <map>
#include <mutex>

namespace fillstation {

// The token by which the whole program learns that it is ending: requested once, never taken back.
// Made by main() before anything else and outlives everything that uses it. Any thread.
class StopSource {
 public:
  // Ends every waitFor() and runs the callbacks, on the calling thread, before it returns; a second
  // request does nothing. Not inside a callback.
  void request();

  bool requested() const;

  // Waits on the calling thread: true after the whole duration (at once when it is zero or less),
  // false, at once, when the stop is or was requested.
  bool waitFor(std::chrono::microseconds duration) const;

  // Has the callback run once when the stop is requested, on the requesting thread; at once, inside
  // this call, when it was requested already. The id is for removeCallback().
  std::size_t onRequest(std::function<void()> callback);

  // Afterwards the callback doesn't run any more; waits for its return when it is running. Must not
  // be called with a lock held that the callback takes, nor inside a callback.
  void removeCallback(std::size_t id);

 private:
  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  bool requested_ = false;

  // Held while callbacks run; taken before lock_.
  std::mutex callbackLock_;
  std::map<std::size_t, std::function<void()>> callbacks_;
  std::size_t nextId_ = 1;
};

}  // namespace fillstation
