#include "SerialQueue.h"

#include <deque>
#include <mutex>
#include <utility>

namespace fillstation {

struct SerialQueue::State {
  std::mutex lock;
  std::deque<std::function<void()>> jobs;
  bool running = false;

  // None, and no thread any more, when there is nothing to do. Jobs that will never begin are
  // dropped: they may hold whoever holds this queue.
  std::function<void()> take(const Workers& workers) {
    std::deque<std::function<void()>> dropped;
    const std::scoped_lock guard(lock);
    if (workers.stopping()) {
      dropped.swap(jobs);
    }
    if (jobs.empty()) {
      running = false;
      return nullptr;
    }
    std::function<void()> job = std::move(jobs.front());
    jobs.pop_front();
    return job;
  }
};

SerialQueue::SerialQueue(Workers& workers) : workers_(workers), state_(std::make_shared<State>()) {}

void SerialQueue::add(std::function<void()> job) {
  {
    const std::scoped_lock guard(state_->lock);
    state_->jobs.push_back(std::move(job));
    if (std::exchange(state_->running, true)) {
      return;
    }
  }
  workers_.spawn([&workers = workers_, state = state_] {
    while (const auto next = state->take(workers)) {
      next();
    }
  });
}

}  // namespace fillstation
