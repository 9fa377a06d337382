#pragma once

#include <vector>

namespace fillstation::test {

// The time-outs, in milliseconds, that calls have been given to libdbus with since the last look.
std::vector<int> takeDBusTimeOuts();

}  // namespace fillstation::test
