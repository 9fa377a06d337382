#pragma once

#include <chrono>

namespace fillstation {

// The pauses of the program. On the main thread a pause keeps the window alive; on any other it is
// an interruptible wait. Any thread.
class Clock {
 public:
  virtual ~Clock() = default;

  // Pauses for the duration; false when the program is ending, then at once.
  virtual bool sleep(std::chrono::microseconds duration) = 0;
};

}  // namespace fillstation
