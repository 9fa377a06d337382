#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "FileManagerContract.h"

namespace fillstation::test {

TEST_P(FileManagerContract, OpensTheOwnersVolumeAlone) {
  EXPECT_NE(openVolume(), nullptr);
  DiskIdentity other = backEnd_->owner();
  other.node += "x";
  EXPECT_EQ(files().openVolume(backEnd_->mountPath(), other), nullptr);
  EXPECT_EQ(files().openVolume(folder_.path(), backEnd_->owner()), nullptr);
}

TEST_P(FileManagerContract, CreatesDirectoriesWithTheirParents) {
  const auto volume = openVolume();
  EXPECT_TRUE(volume->createDirectory(onVolume("My Album/CD 1")));
  EXPECT_TRUE(std::filesystem::is_directory(onVolume("My Album/CD 1")));
  EXPECT_TRUE(volume->createDirectory(onVolume("My Album/CD 1")));
  EXPECT_TRUE(volume->createDirectory(onVolume("My Album/CD 2")));
  EXPECT_TRUE(std::filesystem::is_directory(onVolume("My Album/CD 2")));
}

TEST_P(FileManagerContract, CopiesAFileWithItsContentAndTime) {
  const auto volume = openVolume();
  const std::string source = folder_.write("source", std::string(3000000, 's') + "end");
  const std::timespec times[2] = {{1500000000, 0}, {1400000000, 0}};
  ASSERT_EQ(::utimensat(-1, source.c_str(), times, 0), 0);
  EXPECT_TRUE(volume->copyItem(source, onVolume("01 \xc3\xa4.mp3")));
  EXPECT_TRUE(contentOf(onVolume("01 \xc3\xa4.mp3")) == contentOf(source));
  struct stat status {};
  ASSERT_EQ(::stat(onVolume("01 \xc3\xa4.mp3").c_str(), &status), 0);
  EXPECT_EQ(status.st_mtim.tv_sec, 1400000000);
}

TEST_P(FileManagerContract, ACopyNeverOverwrites) {
  const auto volume = openVolume();
  const std::string first = folder_.write("first", "first");
  const std::string second = folder_.write("second", "second");
  ASSERT_TRUE(volume->createDirectory(onVolume("A")));
  ASSERT_TRUE(volume->copyItem(first, onVolume("a.mp3")));
  EXPECT_FALSE(volume->copyItem(second, onVolume("a.mp3")));
  EXPECT_EQ(contentOf(onVolume("a.mp3")), "first");
  EXPECT_FALSE(volume->copyItem(second, onVolume("A")));
  EXPECT_TRUE(std::filesystem::is_directory(onVolume("A")));
  EXPECT_FALSE(volume->copyItem(second, backEnd_->mountPath()));
}

TEST_P(FileManagerContract, ADirectoryIsNotCreatedOverAFile) {
  const auto volume = openVolume();
  ASSERT_TRUE(volume->copyItem(folder_.write("first", "first"), onVolume("a")));
  EXPECT_FALSE(volume->createDirectory(onVolume("a")));
  EXPECT_FALSE(volume->createDirectory(onVolume("a/b")));
  EXPECT_EQ(contentOf(onVolume("a")), "first");
}

TEST_P(FileManagerContract, ASymbolicLinkToAFileIsCopiedAsTheFile) {
  const auto volume = openVolume();
  folder_.write("file", "content");
  std::filesystem::create_symlink("file", folder_.path("link"));
  EXPECT_TRUE(volume->copyItem(folder_.path("link"), onVolume("a")));
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(onVolume("a"))));
  EXPECT_EQ(contentOf(onVolume("a")), "content");
}

TEST_P(FileManagerContract, WhatIsNoRegularFileIsNotCopiedNorOpened) {
  const auto volume = openVolume();
  ASSERT_EQ(::mkfifo(folder_.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("fifo", folder_.path("link"));
  for (const std::string& source :
       {folder_.path("fifo"), folder_.path("link"), folder_.path("none"),
        folder_.makeFolder("folder"), std::string("/dev/zero"), std::string()}) {
    EXPECT_FALSE(volume->copyItem(source, onVolume("a"))) << source;
    EXPECT_FALSE(std::filesystem::exists(onVolume("a"))) << source;
  }
}

TEST_P(FileManagerContract, ACopyIntoAMissingDirectoryFails) {
  const auto volume = openVolume();
  EXPECT_FALSE(volume->copyItem(folder_.write("source", "x"), onVolume("none/a")));
  EXPECT_FALSE(std::filesystem::exists(onVolume("none")));
}

TEST_P(FileManagerContract, ADestinationElsewhereFails) {
  const auto volume = openVolume();
  const std::string source = folder_.write("source", "x");
  for (const auto& destination : {folder_.path("a"), onVolume("../a"), std::string("a")}) {
    EXPECT_FALSE(volume->copyItem(source, destination)) << destination;
    EXPECT_FALSE(volume->createDirectory(destination)) << destination;
    EXPECT_FALSE(std::filesystem::exists(destination)) << destination;
  }
}

TEST_P(FileManagerContract, FlushPromisesEverything) {
  const auto volume = openVolume();
  EXPECT_TRUE(volume->copyItem(folder_.write("source", "x"), onVolume("a")));
  EXPECT_TRUE(volume->flush());
}

TEST_P(FileManagerContract, AVolumeThatVanishesTakesNothingAndNothingLandsBeneath) {
  const auto volume = openVolume();
  const std::string source = folder_.write("source", "x");
  backEnd_->vanish();
  EXPECT_FALSE(volume->createDirectory(onVolume("A")));
  EXPECT_FALSE(volume->copyItem(source, onVolume("a")));
  EXPECT_FALSE(std::filesystem::exists(onVolume("A")));
  EXPECT_FALSE(std::filesystem::exists(onVolume("a")));
  EXPECT_EQ(openVolume(), nullptr);
}

}  // namespace fillstation::test
