#include "MediumContract.h"
#include "MountedBackEnd.h"
#include "RootsHand.h"

namespace fillstation::contract {

namespace {

std::unique_ptr<BackEnd> createMounted() {
  return RootsHand::isThere() ? std::make_unique<MountedBackEnd>() : nullptr;
}

std::string& noHand() {
  static std::string text = "needs real players: runs in the box of tests/vm";
  return text;
}

const BackEndKind kMounted{"Linux", &createMounted, &noHand};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, MediumContract, ::testing::Values(kMounted), nameOfKind);

}  // namespace fillstation::contract
