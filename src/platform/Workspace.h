#pragma once

#include <memory>
#include <string>

namespace fillstation {

// The desktop around the program. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;

  // Asks the default browser to open a web address; neither waits nor reports.
  virtual void openUrl(const std::string& address) = 0;
};

// Whether the machine may fall asleep by itself. Main thread.
class Wakefulness {
 public:
  virtual ~Wakefulness() = default;

  // Keeps it awake until the last copy of the pointer goes, and however the process ends; neither
  // waits nor reports. The text says why, for a person.
  virtual std::shared_ptr<void> keepAwake(const std::string& why) = 0;
};

}  // namespace fillstation
