#pragma once

#include <functional>
#include <memory>

#include "StopSource.h"
#include "Workers.h"

namespace fillstation {

// Background threads of the operating system, one per body and without a limit. A thread cleans up
// after itself; joinAll() and the destructor wait for those that still run. Any thread; the stop
// source outlives it.
class ThreadWorkers : public Workers {
 public:
  explicit ThreadWorkers(const StopSource& stop);
  ~ThreadWorkers() override;
  ThreadWorkers(const ThreadWorkers&) = delete;
  ThreadWorkers& operator=(const ThreadWorkers&) = delete;

  // A system that can't start another thread ends the program: a run that lost a player without a
  // word would be worse.
  void spawn(std::function<void()> body) noexcept override;
  bool stopping() const override { return stop_.requested(); }

  // Returns when every body has returned and has been destroyed. Not on a worker.
  void joinAll();

 private:
  struct Running;

  const StopSource& stop_;
  std::shared_ptr<Running> running_;
};

}  // namespace fillstation
