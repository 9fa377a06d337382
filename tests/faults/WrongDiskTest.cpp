#include <gtest/gtest.h>

#include <algorithm>

#include "Readable.h"
#include "Reliability.h"
#include "WrongDisk.h"

namespace fillstation::faults {

inline void PrintTo(const WrongDiskCase& planned, std::ostream* out) { *out << planned.moment; }

namespace {

class WrongDiskTest : public ::testing::TestWithParam<WrongDiskCase> {};

std::string nameOfMoment(const ::testing::TestParamInfo<WrongDiskCase>& info) {
  std::string name = info.param.moment;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Bench, WrongDiskTest, ::testing::ValuesIn(wrongDiskCases()), nameOfMoment);

TEST_P(WrongDiskTest, KeepsEveryByte) {
  std::vector<WrongDiskOutcome> seen;
  for (const auto& disk : kForeignDisks) {
    seen.push_back(perform(GetParam(), disk));
    EXPECT_EQ(seen.back().foreign, "unchanged") << disk.name;
    EXPECT_EQ(joined(seen.back().problems), "") << disk.name;
  }
  const std::string row = rowOf(GetParam(), seen);
  const auto documented = documentedRows(1);
  EXPECT_NE(std::find(documented.begin(), documented.end(), row), documented.end())
      << "docs/reliability.md doesn't say: " << row;
}

TEST(WrongDiskTableTest, TheSecondTableHasExactlyTheMomentsInTheirOrder) {
  std::vector<std::string> moments;
  for (const auto& planned : wrongDiskCases()) {
    moments.push_back(planned.moment);
  }
  std::vector<std::string> documented;
  for (const auto& row : documentedRows(1)) {
    documented.push_back(row.substr(2, row.find(" |") - 2));
  }
  EXPECT_EQ(documented, moments);
}

}  // namespace

}  // namespace fillstation::faults
