#include "BenchBackEnd.h"
#include "DiskSessionContract.h"
#include "MediumContract.h"
#include "ScriptRunnerContract.h"
#include "UsbBusContract.h"

namespace fillstation::contract {

INSTANTIATE_TEST_SUITE_P(Bench, UsbBusContract, ::testing::Values(kBench), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Bench, DiskSessionContract, ::testing::Values(kBench), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Bench, ScriptRunnerContract, ::testing::Values(kBench), nameOfKind);
INSTANTIATE_TEST_SUITE_P(Bench, MediumContract, ::testing::Values(kBench), nameOfKind);

}  // namespace fillstation::contract
