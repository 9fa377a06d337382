#pragma once

#include <QVariantList>
#include <optional>
#include <string>
#include <vector>

namespace fillstation {

// A drive object of UDisks2. Sticks with equal or missing serial numbers share one. A plain value.
struct DriveFacts {
  std::string path;  // its object
  bool ejectable;
  bool canPowerOff;
  std::vector<std::string> blockNames;  // of everything that has this drive: "sdb", "sdb1"
};

// The drive of a block device ("sdb") in the answer to GetManagedObjects; none when it has none.
// Any thread.
std::optional<DriveFacts> driveOf(const std::string& blockName, const QVariantList& objects);

}  // namespace fillstation
