#include <gtest/gtest.h>

#include <algorithm>

#include "FaultOutcome.h"
#include "Readable.h"
#include "Reliability.h"

namespace fillstation::faults {

// What GoogleTest calls a case.
inline void PrintTo(const FaultCase& planned, std::ostream* out) { *out << planned.name; }

namespace {

class FaultMatrixTest : public ::testing::TestWithParam<FaultCase> {};

// A test's name from a case's.
std::string nameOf(const ::testing::TestParamInfo<FaultCase>& info) {
  std::string name = info.param.name;
  std::replace_if(
      name.begin(), name.end(), [](unsigned char letter) { return std::isalnum(letter) == 0; },
      '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Bench, FaultMatrixTest, ::testing::ValuesIn(faultCases()), nameOf);

TEST_P(FaultMatrixTest, EndsAsItMust) {
  const FaultOutcome seen = perform(GetParam());
  EXPECT_EQ(joined(seen.problems), "");
  const std::string row = rowOf(GetParam(), seen);
  const auto documented = documentedRows(0);
  EXPECT_NE(std::find(documented.begin(), documented.end(), row), documented.end())
      << "docs/reliability.md doesn't say: " << row;
}

TEST(FaultTableTest, TheFirstTableHasExactlyTheCasesInTheirOrder) {
  std::vector<std::string> names;
  for (const auto& planned : faultCases()) {
    names.push_back(planned.name);
  }
  std::vector<std::string> documented;
  for (const auto& row : documentedRows(0)) {
    documented.push_back(row.substr(2, row.find(" |") - 2));
  }
  EXPECT_EQ(documented, names);
}

}  // namespace

}  // namespace fillstation::faults
