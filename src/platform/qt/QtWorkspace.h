#pragma once

#include <string>

#include "Workspace.h"

namespace fillstation {

// The desktop's default browser, asked through the desktop's own helper program, xdg-open, which
// may take as long as it likes.
class QtWorkspace : public Workspace {
 public:
  void openUrl(const std::string& address) override;
};

}  // namespace fillstation
