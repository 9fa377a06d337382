#include "ScsiUnit.h"

#include <gtest/gtest.h>
#include <scsi/sg.h>

#include <string>
#include <vector>

#include "MockUnit.h"
#include "TempFolder.h"

namespace fillstation::test {

class ScsiUnitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    unit = MockUnit();
    unit.present = true;
  }
  void TearDown() override { unit = MockUnit(); }

  MockUnit& unit = mockUnit();
  TempFolder folder;
  const std::string node = folder.write("node", "");
};

TEST_F(ScsiUnitTest, TheMediumIsEjected) {
  EXPECT_TRUE(stopScsiUnit(node, 7));
  EXPECT_EQ(unit.command, std::vector<unsigned char>({0x1B, 0, 0, 0, 2, 0}));
  EXPECT_EQ(unit.direction, SG_DXFER_NONE);
  EXPECT_EQ(unit.interfaceId, 'S');
  EXPECT_EQ(unit.timeOut, 30'000U);
  EXPECT_TRUE(unit.opensWithoutMedium);
  EXPECT_FALSE(unit.isInherited);
}

TEST_F(ScsiUnitTest, AnotherDiskIsLeftAlone) {
  EXPECT_FALSE(stopScsiUnit(node, 8));
  EXPECT_TRUE(unit.command.empty());
}

TEST_F(ScsiUnitTest, WhatIsNoDiskIsLeftAlone) {
  unit.sequenceResult = -1;
  EXPECT_FALSE(stopScsiUnit(node, 7));
  EXPECT_TRUE(unit.command.empty());
}

TEST_F(ScsiUnitTest, ANodeThatCannotBeOpenedIsNotStopped) {
  EXPECT_FALSE(stopScsiUnit(folder.path("none"), 7));
  EXPECT_TRUE(unit.command.empty());
}

TEST_F(ScsiUnitTest, ARefusalIsToldApart) {
  unit.result = -1;
  EXPECT_FALSE(stopScsiUnit(node, 7));
  unit.result = 0;
  unit.status = 2;
  EXPECT_FALSE(stopScsiUnit(node, 7));
  unit.status = 0;
  unit.hostStatus = 1;
  EXPECT_FALSE(stopScsiUnit(node, 7));
}

}  // namespace fillstation::test
