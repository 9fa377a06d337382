#pragma once

#include <vector>

namespace fillstation::test {

// What the monitor of udev's events is asked and what it answers.
struct MockMonitor {
  // One look for an event: an error in place of one (0 for none), and whether all that wait are
  // lost.
  struct Look {
    int error = 0;
    bool isLoss = false;
  };
  // What the next looks give; those after them give what there is.
  std::vector<Look> looks;
  // The sizes of the receive buffer that were asked for.
  std::vector<int> bufferSizes;
};
MockMonitor& mockMonitor();

}  // namespace fillstation::test
