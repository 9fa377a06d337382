#pragma once

#include <condition_variable>
#include <mutex>

namespace fillstation {

// Counts the agents that are authenticating at one moment: the system serves a limited number at
// once and answers what is beyond like a wrong password. Any thread.
class AgentPlaces {
 public:
  explicit AgentPlaces(int count) : free_(count) {}

  // Waits for a free place and takes it.
  void take() {
    std::unique_lock guard(lock_);
    changed_.wait(guard, [this] { return free_ > 0; });
    --free_;
  }
  void give() {
    const std::scoped_lock guard(lock_);
    ++free_;
    changed_.notify_one();
  }

 private:
  std::mutex lock_;
  std::condition_variable changed_;
  int free_;
};

}  // namespace fillstation
