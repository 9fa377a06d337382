#include "Reliability.h"

#include <fstream>

namespace fillstation::faults {

std::vector<std::string> documentedRows(int table) {
  std::ifstream page(FILLSTATION_RELIABILITY_PAGE);
  std::vector<std::string> rows;
  bool isBench = false;
  bool isBody = false;
  int tables = -1;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## ")) {
      isBench = line == "## On the virtual bench";
    }
    // What follows the line of dashes, to the end of the table.
    tables += isBench && line.starts_with("|---") ? 1 : 0;
    isBody = line.starts_with("|---") || (isBody && line.starts_with("|"));
    if (isBench && isBody && tables == table && !line.starts_with("|---")) {
      rows.push_back(line);
    }
  }
  return rows;
}

}  // namespace fillstation::faults
