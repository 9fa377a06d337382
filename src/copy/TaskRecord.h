#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <optional>
#include <string>

#include "FileManager.h"
#include "SystemLog.h"
#include "UsbBus.h"

namespace fillstation {

// The steps of a task, in the order of a run.
enum class Step { kWaiting, kUnmount, kWipe, kFormat, kMount, kCopy, kFlush, kCheck, kDone };

// The history of one task: how long each step took, and what failed first. Made on the main thread,
// written by the task's thread; any thread may call step(). Belongs to its task.
class TaskRecord {
 public:
  // The player's place, known before the run.
  explicit TaskRecord(UsbPlace place = {}) : place_(std::move(place)) {}

  Step step() const { return step_; }
  // Ends the previous step.
  void begin(Step step);
  // Records the current step, and the file, as the failure, unless there already is one.
  void fail(VolumeFailure failure = {});

  // The place, the seconds of each step, the result, and what failed.
  LogFields fields() const;

 private:
  const UsbPlace place_;
  std::atomic<Step> step_{Step::kWaiting};
  std::chrono::steady_clock::time_point begun_;
  std::map<Step, std::chrono::duration<double>> seconds_;
  std::optional<Step> failedStep_;
  VolumeFailure failure_;
};

}  // namespace fillstation
