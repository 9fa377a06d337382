#include <gtest/gtest.h>
#include <unistd.h>

#include <QCoreApplication>
#include <vector>

#include "BoxBackEnd.h"
#include "MockCalls.h"
#include "ScriptBox.h"
#include "ScriptRunnerContract.h"

namespace fillstation::contract {

namespace {

std::unique_ptr<BackEnd> createInBox() {
  return test::boxRefusal().empty() ? std::make_unique<BoxBackEnd>() : nullptr;
}

const BackEndKind kBox{"Linux", &createInBox, &test::boxRefusal};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, ScriptRunnerContract, ::testing::Values(kBox), nameOfKind);

}  // namespace fillstation::contract

int main(int argc, char** argv) {
  std::vector<char*> given(argv, argv + argc);
  given.push_back(nullptr);
  testing::InitGoogleTest(&argc, argv);
  const bool hasLoops = ::access("/dev/loop-control", R_OK | W_OK) == 0;
  const auto status = fillstation::test::runInBoxes(
      static_cast<int>(given.size()) - 1, given.data(),
      hasLoops ? "" : "needs root and /dev/loop-control, for disks made of files");
  if (status) {
    return *status;
  }
  fillstation::test::preloadMockUdev(given.data());
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
