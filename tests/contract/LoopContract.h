#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "Clock.h"
#include "MainThread.h"
#include "Workers.h"

namespace fillstation::test {

// The ports of one back end that have to do with threads and waiting, to be held to the contract.
// The thread that makes them is the main thread. Destruction ends the
// program and waits for the workers.
class LoopBackEnd {
 public:
  virtual ~LoopBackEnd() = default;

  virtual MainThread& mainThread() = 0;
  virtual Clock& clock() = 0;
  virtual Workers& workers() = 0;
  // The program ends. Any thread.
  virtual void requestStop() = 0;
  // Runs the main loop until the condition holds.
  virtual void runLoopUntil(const std::function<bool()>& condition) = 0;
  // Runs what the main loop has to do now.
  virtual void runLoopDry() = 0;
};

// How to make them; the name goes into the names of the tests.
struct LoopBackEndMaker {
  std::string name;
  std::unique_ptr<LoopBackEnd> (*make)();

  friend void PrintTo(const LoopBackEndMaker& maker, std::ostream* out) { *out << maker.name; }
};

class LoopContract : public testing::TestWithParam<LoopBackEndMaker> {
 protected:
  MainThread& mainThread() { return backEnd_->mainThread(); }
  Clock& clock() { return backEnd_->clock(); }
  Workers& workers() { return backEnd_->workers(); }

  // Runs the body on a worker and the main loop meanwhile; returns when the body has returned.
  void onWorker(std::function<void()> body);

  std::unique_ptr<LoopBackEnd> backEnd_ = GetParam().make();
};
// One suite per port, the same back ends for each.
class MainThreadContract : public LoopContract {};
class ClockContract : public LoopContract {};
class WorkersContract : public LoopContract {};

}  // namespace fillstation::test
