#include "ThreadWorkers.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>
#include <utility>

namespace fillstation {

// Shared with the threads, which may still be on their way out when the object has gone.
struct ThreadWorkers::Running {
  std::mutex lock;
  std::condition_variable changed;
  std::size_t count = 0;
};

ThreadWorkers::ThreadWorkers(const StopSource& stop)
    : stop_(stop), running_(std::make_shared<Running>()) {}

ThreadWorkers::~ThreadWorkers() { joinAll(); }

void ThreadWorkers::spawn(std::function<void()> body) noexcept {
  {
    const std::scoped_lock guard(running_->lock);
    ++running_->count;
  }
  std::thread([running = running_, body = std::move(body)]() mutable {
    body();
    body = nullptr;
    const std::scoped_lock guard(running->lock);
    --running->count;
    running->changed.notify_all();
  }).detach();
}

void ThreadWorkers::joinAll() {
  std::unique_lock guard(running_->lock);
  running_->changed.wait(guard, [this] { return running_->count == 0; });
}

}  // namespace fillstation
