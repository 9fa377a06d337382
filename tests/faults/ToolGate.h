#pragma once

#include <cstddef>
#include <string>

#include "TempFolder.h"

namespace fillstation::faults {

// Stands where a tool is looked for and keeps everybody who calls it until it opens; then the real
// tool runs. So something can happen between the last check of a disk and the first byte. Main
// thread, made and destroyed while no command runs.
class ToolGate {
 public:
  explicit ToolGate(const std::string& tool);
  ~ToolGate();
  ToolGate(const ToolGate&) = delete;
  ToolGate& operator=(const ToolGate&) = delete;

  // How many calls have come.
  std::size_t calls() const;
  void open() const;

 private:
  test::TempFolder folder_;
  std::string pathBefore_;
};

}  // namespace fillstation::faults
