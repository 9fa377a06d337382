#pragma once

#include <string>
#include <vector>

namespace fillstation::test {

// What udev is asked and what it answers: its monitor of events, and of devices whether they are
// there.
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
  // The path in sysfs of a device that goes between being listed and being looked at.
  std::string vanishing;
};
MockMonitor& mockMonitor();

}  // namespace fillstation::test
