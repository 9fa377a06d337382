#pragma once

#include <string>
#include <vector>

namespace fillstation::faults {

// The lines of the tables that docs/reliability.md shows of the bench. Any thread.
std::vector<std::string> documentedRows();

}  // namespace fillstation::faults
