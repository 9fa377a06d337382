#include "DiskSessionContract.h"
#include "LinuxRig.h"
#include "UsbBusContract.h"

namespace fillstation::contract {

namespace {

const BackEndKind kLinux{"Linux", [] { return std::unique_ptr<BackEnd>(new test::LinuxRig); }};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, UsbBusContract, ::testing::Values(kLinux), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Linux, DiskSessionContract, ::testing::Values(kLinux), nameOfKind);

}  // namespace fillstation::contract
