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

// Where a task is, in the order of a run.
enum class Step { kWaiting, kUnmount, kWipe, kFormat, kMount, kCopy, kFlush, kCheck, kDone };

// How one task went: how long each step took, and what failed first. Written by the task's thread
// alone, and made on the main thread; step() is for any thread. Belongs to its task.
class TaskRecord {
 public:
  // The player's place, as it is known before the run.
  explicit TaskRecord(UsbPlace place = {}) : place_(std::move(place)) {}

  Step step() const { return step_; }
  // Ends the step before.
  void begin(Step step);
  // Notes the present step as the one that failed, unless one has before; and the file.
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
