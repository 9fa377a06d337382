#include "ScsiUnit.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <scsi/sg.h>

#include <cstdarg>
#include <string>
#include <vector>

#include "TempFolder.h"

namespace fillstation::test {

namespace {

// A unit that isn't there, behind the ioctl() below.
struct MockUnit {
  bool present = false;
  std::uint64_t sequence = 7;
  int sequenceResult = 0;
  int result = 0;
  unsigned char status = 0;
  unsigned short hostStatus = 0;
  std::vector<unsigned char> command;
  int direction = 0;
  char interfaceId = 0;
  unsigned int timeOut = 0;
  bool opensWithoutMedium = false;
  bool isInherited = true;
};

MockUnit unit;

int answerTo(sg_io_hdr& request) {
  unit.command.assign(request.cmdp, request.cmdp + request.cmd_len);
  unit.direction = request.dxfer_direction;
  unit.interfaceId = static_cast<char>(request.interface_id);
  unit.timeOut = request.timeout;
  request.status = unit.status;
  request.host_status = unit.hostStatus;
  return unit.result;
}

}  // namespace

class ScsiUnitTest : public ::testing::Test {
 protected:
  void SetUp() override {
    unit = MockUnit();
    unit.present = true;
  }
  void TearDown() override { unit = MockUnit(); }

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

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  using Control = int (*)(int, unsigned long, void*);
  static const auto next = reinterpret_cast<Control>(::dlsym(RTLD_NEXT, "ioctl"));
  std::va_list rest;
  va_start(rest, request);
  void* const argument = va_arg(rest, void*);
  va_end(rest);
  auto& unit = fillstation::test::unit;
  if (unit.present && request == BLKGETDISKSEQ) {
    *static_cast<std::uint64_t*>(argument) = unit.sequence;
    return unit.sequenceResult;
  }
  if (unit.present && request == SG_IO) {
    unit.opensWithoutMedium = (::fcntl(descriptor, F_GETFL) & O_NONBLOCK) != 0;
    unit.isInherited = (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0;
    return fillstation::test::answerTo(*static_cast<sg_io_hdr*>(argument));
  }
  return next(descriptor, request, argument);
}
