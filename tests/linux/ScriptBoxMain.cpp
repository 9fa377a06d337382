#include <gtest/gtest.h>

#include <vector>

#include "ScriptBoxEntry.h"

int main(int argc, char** argv) {
  std::vector<char*> given(argv, argv + argc);
  testing::InitGoogleTest(&argc, argv);
  const auto status = fillstation::test::runInBoxes(static_cast<int>(given.size()), given.data());
  return status ? *status : RUN_ALL_TESTS();
}
