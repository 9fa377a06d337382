#pragma once

#include <string>

namespace fillstation {

// The desktop around the program. Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;

  // Asks the default browser to open a web address; neither waits nor reports.
  virtual void openUrl(const std::string& address) = 0;
};

}  // namespace fillstation
