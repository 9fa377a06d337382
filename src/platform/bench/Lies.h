#pragma once

#include "Scenario.h"

namespace fillstation {

// Makes an image what its medium really holds of what was written to it; does nothing for a medium
// that doesn't lie. False when the image can't be changed. The descriptor stays the caller's.
bool applyLie(int image, const BenchFaults& faults);

}  // namespace fillstation
