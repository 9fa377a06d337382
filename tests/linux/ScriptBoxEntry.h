#pragma once

#include <optional>
#include <string>

namespace fillstation::test {

// Runs this very program again for each case that it was asked for, each in a box of its own, and
// returns the exit status of all. None in a box, when cases are only listed, and when there can't
// be a box here, for which boxRefusal() then has the reason: go on with the cases. After
// testing::InitGoogleTest(); argv as it was before. `obstacle` is a reason of the program's own,
// empty for none.
std::optional<int> runInBoxes(int argc, char** argv, const std::string& obstacle = {});

}  // namespace fillstation::test
