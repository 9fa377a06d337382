#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Platform.h"
#include "ScriptRunner.h"

namespace fillstation::faults {

// One thing that the program asks of the machine for one player; kLook is the look for its disk,
// with which every request begins. A plain value.
struct Step {
  enum class Kind { kLook, kUnmount, kWipe, kFormat, kMount, kOpen, kEject };

  Kind kind;
  std::string node;

  bool operator==(const Step&) const = default;
};

// What a case does at the steps of a run, on the thread that makes the step: a worker, but for the
// eject and the unmount before it. Each may be absent. Set before the first step and not changed
// while there are any.
struct StepHooks {
  std::function<void(const Step&)> before;
  // Of a command: answers in the machine's place.
  std::function<std::optional<ScriptOutcome>(const Step&)> instead;
  // Of a command: when it has ended, before the program knows.
  std::function<void(const Step&)> after;
  // Of a request: true if it is never answered, and never carried out.
  std::function<bool(const Step&)> isLost;
};

// Puts the hooks between the program and the installed platform. They stay for as long as the
// result is held, which ends before the platform does. Main thread.
std::shared_ptr<void> installHooks(const StepHooks& hooks, Platform& installed);

}  // namespace fillstation::faults
