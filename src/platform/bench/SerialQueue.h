#pragma once

#include <functional>
#include <memory>

#include "Workers.h"

namespace fillstation {

// Runs jobs one after the other, in the order of their coming, on a background thread that exists
// while there are any. Jobs that have not begun when the program ends never begin. Any thread; may
// go before its jobs, which then still run; the workers outlive both.
class SerialQueue {
 public:
  explicit SerialQueue(Workers& workers);

  // Never runs the job inside this call.
  void add(std::function<void()> job);

 private:
  struct State;

  Workers& workers_;
  std::shared_ptr<State> state_;
};

}  // namespace fillstation
