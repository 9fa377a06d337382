#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Platform.h"

namespace fillstation::test {

// One thing that the program asks of the machine for one player. A plain value.
struct Step {
  enum class Kind { kUnmount, kWipe, kFormat, kMount, kOpen, kCopy, kFlush, kReadBack, kEject };

  Kind kind;
  std::string node;

  bool operator==(const Step&) const = default;
};

// Hooks at the steps of a run, called on the thread of the step: a worker, except for the eject and
// its unmount. Each may be absent. Set before the first step, and not changed afterwards.
struct StepHooks {
  std::function<void(const Step&)> before;
  // Of a request: true if it is never answered, and never carried out.
  std::function<bool(const Step&)> isLost;
};

// Puts the hooks, which outlive the program, between it and the installed platform for as long as
// the result is held, which ends before the platform does. Main thread.
std::shared_ptr<void> installHooks(const StepHooks& hooks, Platform& installed);

}  // namespace fillstation::test
