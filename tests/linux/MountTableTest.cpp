#include "MountTable.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "TempFolder.h"

namespace fillstation::test {

class MountTableTest : public ::testing::Test {
 protected:
  using Paths = std::vector<std::string>;

  Paths pointsIn(const std::string& table) {
    return MountTable(folder.write("mountinfo", table)).mountPoints(::makedev(8, 17));
  }

  TempFolder folder;
};

TEST_F(MountTableTest, ListsADevicesMountsInTheirOrder) {
  EXPECT_EQ(pointsIn("21 1 8:17 / /media/b rw - vfat /dev/sdb1 rw\n"
                     "22 1 8:16 / /media/c rw - vfat /dev/sdb rw\n"
                     "23 1 8:17 / /media/a rw shared:3 - vfat /dev/sdb1 rw\n"),
            Paths({"/media/b", "/media/a"}));
}

TEST_F(MountTableTest, APartOfTheFileSystemIsNotTheVolume) {
  EXPECT_EQ(pointsIn("21 1 8:17 /Music /home/music rw - vfat /dev/sdb1 rw\n"), Paths());
}

TEST_F(MountTableTest, EscapesAreUndone) {
  EXPECT_EQ(pointsIn("21 1 8:17 / /media/A\\040B\\134\\011C\\012 rw - vfat x rw\n"),
            Paths({"/media/A B\\\tC\n"}));
  EXPECT_EQ(pointsIn("21 1 8:17 / /m\\701 rw\n"), Paths({"/m\xC1"}));
}

TEST_F(MountTableTest, WhatIsNoEscapeStays) {
  EXPECT_EQ(pointsIn("21 1 8:17 / /m\\x40\\8\\04 rw\n"), Paths({"/m\\x40\\8\\04"}));
  EXPECT_EQ(pointsIn("21 1 8:17 / /m\\040 rw\n"), Paths({"/m "}));
}

TEST_F(MountTableTest, WithoutATableNothingIsMounted) {
  EXPECT_EQ(MountTable(folder.path("none")).mountPoints(::makedev(8, 17)), Paths());
  EXPECT_EQ(pointsIn("21\n\n"), Paths());
}

TEST_F(MountTableTest, TheKernelsOwnTableIsRead) {
  EXPECT_FALSE(MountTable().mountPoints(0).size() > 0);
  struct stat status {};
  ASSERT_EQ(::stat("/proc", &status), 0);
  EXPECT_EQ(MountTable().mountPoints(status.st_dev), Paths({"/proc"}));
}

}  // namespace fillstation::test
