#pragma once

#include <string>
#include <vector>

namespace fillstation::faults {

// The lines of one of the tables that docs/reliability.md shows of the bench; 0 is the faults, 1
// the wrong disks. Any thread.
std::vector<std::string> documentedRows(int table);

}  // namespace fillstation::faults
