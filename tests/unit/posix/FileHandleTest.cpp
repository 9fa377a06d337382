#include "FileHandle.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>

#include "DeepTempFolder.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }
int newDescriptor() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }

TEST(FileHandle, ClosesWhatItOwns) {
  EXPECT_FALSE(FileHandle());
  EXPECT_EQ(FileHandle().get(), -1);
  const int descriptor = newDescriptor();
  {
    const FileHandle handle(descriptor);
    EXPECT_TRUE(handle);
    EXPECT_EQ(handle.get(), descriptor);
    EXPECT_TRUE(isOpen(descriptor));
  }
  EXPECT_FALSE(isOpen(descriptor));
}

TEST(FileHandle, DescriptorZeroIsOne) {
  const int saved = ::dup(0);
  EXPECT_TRUE(FileHandle(0));
  EXPECT_FALSE(isOpen(0));
  ::dup2(saved, 0);
  const FileHandle closes(saved);
}

TEST(FileHandle, ReleasesAndMoves) {
  const int descriptor = newDescriptor();
  FileHandle first(descriptor);
  FileHandle second(std::move(first));
  EXPECT_EQ(second.get(), descriptor);
  EXPECT_EQ(second.release(), descriptor);
  EXPECT_FALSE(second);
  EXPECT_TRUE(isOpen(descriptor));
  FileHandle third(descriptor);
  third = FileHandle();
  EXPECT_FALSE(third);
  EXPECT_FALSE(isOpen(descriptor));
}

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

TEST(LongPath, WhatNoFileSystemTakesIsNotFound) {
  const test::TempFolder folder;
  const std::string name(5000, 'n');
  std::string nowhere = "/nowhere";
  for (int level = 0; level < 3000; ++level) {
    nowhere += "/..";
  }
  for (const std::string& path :
       {name, "/" + name, "./" + name, folder.path(name), folder.path(name + "/a"), "t/" + name,
        nowhere, nowhere + "/.", std::string(), std::string("/tmp\0x", 6)}) {
    EXPECT_FALSE(statLongPath(path)) << path;
  }
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

TEST(OpenFiles, AsManyAsTheSystemAllows) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit few{before.rlim_max / 2, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  allowManyOpenFiles();
  rlimit after{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &after), 0);
  EXPECT_EQ(after.rlim_cur, before.rlim_max);
  EXPECT_EQ(after.rlim_max, before.rlim_max);
  ::setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace
}  // namespace fillstation
