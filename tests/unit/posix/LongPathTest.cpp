#include "LongPath.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "DeepTempFolder.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

// Makes folders of that name below one another, and a file "end" of 5 bytes in the lowest; the path
// of the lowest folder.
std::string makeDeep(const std::string& top, const std::string& name, int levels) {
  FileHandle folder = openLongPath(top, O_PATH);
  std::string path = top;
  for (int level = 0; level < levels; ++level) {
    EXPECT_EQ(::mkdirat(folder.get(), name.c_str(), 0700), 0);
    folder = FileHandle(::openat(folder.get(), name.c_str(), O_PATH));
    path += "/" + name;
  }
  const FileHandle file(::openat(folder.get(), "end", O_WRONLY | O_CREAT, 0600));
  EXPECT_EQ(::write(file.get(), "12345", 5), 5);
  return path;
}

TEST(LongPath, FindsWhatAnyPathLengthNames) {
  // Cuts and limits fall at many places of a name.
  for (const int length : {1, 2, 3, 7, 200, 255}) {
    const test::DeepTempFolder top;
    const int levels = 12500 / (length + 1);
    const std::string path =
        makeDeep(top.path(), std::string(static_cast<std::size_t>(length), 'n'), levels);
    const auto status = statLongPath(path + "/end");
    ASSERT_TRUE(status);
    EXPECT_EQ(status->st_size, 5);
    EXPECT_TRUE(S_ISDIR(statLongPath(path)->st_mode));
    EXPECT_TRUE(S_ISDIR(statLongPath(path + "/")->st_mode));
    EXPECT_FALSE(statLongPath(path + "/none"));
    EXPECT_FALSE(statLongPath(path + "/end/"));
  }
}

TEST(LongPath, SlashesDoNotMakeTheRestAbsolute) {
  const test::TempFolder folder;
  folder.write("a/file", "abc");
  for (std::size_t slashes = 3900; slashes < 4200; slashes += 7) {
    const auto status = statLongPath(folder.path("a") + std::string(slashes, '/') + "file");
    ASSERT_TRUE(status) << slashes;
    EXPECT_EQ(status->st_size, 3);
  }
  EXPECT_TRUE(statLongPath(folder.path("a") + std::string(9000, '/')));
}

TEST(LongPath, ANameThatNoFileSystemTakesIsNotFound) {
  const test::TempFolder folder;
  const std::string name(5000, 'n');
  EXPECT_FALSE(statLongPath(name));
  EXPECT_FALSE(statLongPath("/" + name));
  EXPECT_FALSE(statLongPath("./" + name));
  EXPECT_FALSE(statLongPath(folder.path(name)));
  EXPECT_FALSE(statLongPath(folder.path(name + "/a")));
  EXPECT_FALSE(statLongPath("t/" + name));
}

TEST(LongPath, AMissingFolderOnALongWayEndsTheSearch) {
  std::string path = "/nowhere";
  for (int level = 0; level < 3000; ++level) {
    path += "/..";
  }
  EXPECT_FALSE(statLongPath(path));
  // What would be found if the search went on from here.
  EXPECT_FALSE(statLongPath(path + "/."));
}

TEST(LongPath, EmptyAndCutByNulAreNotFound) {
  EXPECT_FALSE(statLongPath(""));
  EXPECT_FALSE(statLongPath(std::string("/tmp\0x", 6)));
  EXPECT_TRUE(statLongPath("/tmp"));
}

TEST(LongPath, RelativePathsBeginInTheWorkingFolder) {
  const test::TempFolder folder;
  folder.write("here", "1234567");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  const auto status = statLongPath("here");
  std::filesystem::current_path(before);
  ASSERT_TRUE(status);
  EXPECT_EQ(status->st_size, 7);
}

TEST(LongPath, ClosesOnExecAndHonoursFlags) {
  const test::TempFolder folder;
  const std::string file = folder.write("file", "abc");
  const FileHandle handle = openLongPath(file, O_RDONLY);
  ASSERT_TRUE(handle);
  EXPECT_EQ(::fcntl(handle.get(), F_GETFD), FD_CLOEXEC);
  char byte = 0;
  EXPECT_EQ(::read(handle.get(), &byte, 1), 1);
  EXPECT_FALSE(openLongPath(file, O_RDONLY | O_DIRECTORY));
}

}  // namespace
}  // namespace fillstation
