#include "MountTable.h"

#include <gtest/gtest.h>
#include <mntent.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>

#include "TempFolder.h"

namespace fillstation::test {

class MountTableTest : public ::testing::Test {
 protected:
  using Paths = std::vector<std::string>;

  Paths pointsIn(const std::string& table) {
    return MountTable(folder.write("mountinfo", table)).mountPoints(::makedev(8, 17));
  }
  // Where the folder of /proc is mounted, as the system's library reads them: in a chroot it may be
  // at several places, and more than once at one.
  static std::set<std::string> placesOf(const struct stat& proc) {
    std::set<std::string> places;
    const std::unique_ptr<FILE, int (*)(FILE*)> table(::setmntent("/proc/self/mounts", "r"),
                                                      &::endmntent);
    while (const mntent* const entry = ::getmntent(table.get())) {
      struct stat status {};
      if (std::string(entry->mnt_type) == "proc" && ::stat(entry->mnt_dir, &status) == 0 &&
          status.st_dev == proc.st_dev && status.st_ino == proc.st_ino) {
        places.insert(entry->mnt_dir);
      }
    }
    return places;
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
  EXPECT_EQ(MountTable().mountPoints(0), Paths());
  struct stat status {};
  ASSERT_EQ(::stat("/proc", &status), 0);
  const Paths points = MountTable().mountPoints(status.st_dev);
  EXPECT_GT(std::count(points.begin(), points.end(), "/proc"), 0);
  EXPECT_EQ(std::set<std::string>(points.begin(), points.end()), placesOf(status));
}

}  // namespace fillstation::test
