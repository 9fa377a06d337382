#pragma once

#include <memory>
#include <string>

namespace fillstation {

// Whether the machine may fall asleep by itself. Main thread.
class Wakefulness {
 public:
  virtual ~Wakefulness() = default;

  // Keeps it awake until the last copy of the pointer goes, and however the process ends; neither
  // waits nor reports. The text says why, for a person.
  virtual std::shared_ptr<void> keepAwake(const std::string& why) = 0;
};

}  // namespace fillstation
