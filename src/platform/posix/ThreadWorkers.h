#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include "MainThread.h"
#include "StopSource.h"

namespace fillstation {

// Background threads of the operating system, one per body, without a limit. A thread cleans up
// after itself; joinAll() and the destructor wait for running ones. Any thread; the stop source
// outlives it.
class ThreadWorkers : public Workers {
 public:
  explicit ThreadWorkers(const StopSource& stop) : stop_(stop) {}
  ~ThreadWorkers() override { joinAll(); }
  ThreadWorkers(const ThreadWorkers&) = delete;
  ThreadWorkers& operator=(const ThreadWorkers&) = delete;

  // If the system can't start another thread, the program ends: a run that lost a player without a
  // message would be worse.
  void spawn(std::function<void()> body) noexcept override {
    ++*running_;
    std::thread([running = running_, body = std::move(body)]() mutable {
      body();
      body = nullptr;
      --*running;
      running->notify_all();
    }).detach();
  }
  bool stopping() const override { return stop_.requested(); }

  // Returns when every body has returned and has been destroyed. Not on a worker.
  void joinAll() {
    for (int count = *running_; count != 0; count = *running_) {
      running_->wait(count);
    }
  }

 private:
  const StopSource& stop_;
  // Shared with the threads, which may end later than the object.
  const std::shared_ptr<std::atomic<int>> running_ = std::make_shared<std::atomic<int>>(0);
};

}  // namespace fillstation
