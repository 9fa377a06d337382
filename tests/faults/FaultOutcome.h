#pragma once

#include <string>
#include <vector>

#include "FaultCase.h"

namespace fillstation::faults {

// What was seen of one case. A plain value.
struct FaultOutcome {
  // As the table says it.
  std::string run;      // "ends" or "waits"
  std::string summary;  // who is named
  std::string hit;      // what the player holds that it happened to
  std::string others;
  std::string outside;

  // Why this is not what must be; empty when it is.
  std::vector<std::string> problems;
};

// Performs the case at the window, reads every medium back with tools that are not ours, and
// judges: the run ends (or waits, if it must), the summary names exactly the players that took part
// and are not complete, every other player holds every file, and nothing else has changed. Main
// thread.
FaultOutcome perform(const FaultCase& planned);

// The line of the table, and its two head lines.
std::string rowOf(const FaultCase& planned, const FaultOutcome& seen);
std::string faultHead();

}  // namespace fillstation::faults
