#include "PosixVolumeRig.h"

namespace fillstation {
namespace {

TEST_F(PosixVolumeTest, CopiesAndTellsTheMedium) {
  EXPECT_TRUE(volume_.createDirectory(at("A/B")));
  EXPECT_TRUE(volume_.copyItem(source_, at("A/B/01.mp3")));
  EXPECT_EQ(test::contentOf(at("A/B/01.mp3")), "audio");
  EXPECT_TRUE(volume_.copyItem(folder_.write("empty", ""), at("empty")));
  EXPECT_EQ(medium_->log,
            (Log{"admit directory A", "created A", "admit directory A/B",
                 "created A/B", "admit file A/B/01.mp3 5", "admit bytes 5",
                 "created A/B/01.mp3", "admit file empty 0", "created empty"}));
}

TEST_F(PosixVolumeTest, AnExistingDirectoryIsASuccessAndNotAskedFor) {
  std::filesystem::create_directories(at("A/B"));
  EXPECT_TRUE(volume_.createDirectory(at("A/B")));
  EXPECT_TRUE(volume_.createDirectory(mount_));
  EXPECT_TRUE(volume_.createDirectory(mount_ + "/"));
  EXPECT_EQ(medium_->log, Log{});
}

TEST_F(PosixVolumeTest, SlashesTooManyDoNotCount) {
  EXPECT_TRUE(volume_.createDirectory(mount_ + "//A///B//"));
  EXPECT_TRUE(volume_.copyItem(source_, mount_ + "/A//B/c"));
  EXPECT_EQ(test::contentOf(at("A/B/c")), "audio");
  EXPECT_EQ(medium_->log.back(), "created A/B/c");
  PosixVolume volume(open(), mount_ + "//", medium_, stop_, calls_);
  EXPECT_TRUE(volume.copyItem(source_, at("a")));
  EXPECT_TRUE(exists(at("a")));
  EXPECT_FALSE(volume_.copyItem(source_, mount_));
  EXPECT_FALSE(volume_.copyItem(source_, mount_ + "/"));
}

TEST_F(PosixVolumeTest, RefusesDestinationsThatAreNotOnTheVolume) {
  for (const std::string& destination :
       {folder_.path("elsewhere"), mount_ + "x", mount_ + "x/a", std::string("a"), std::string(),
        std::string("/"), at("../a"), at("A/../a"), at("./a"), at("."), at("..")}) {
    EXPECT_FALSE(volume_.createDirectory(destination)) << destination;
    EXPECT_FALSE(volume_.copyItem(source_, destination)) << destination;
  }
  EXPECT_FALSE(volume_.createDirectory(at(std::string("a\0b", 3))));
  EXPECT_FALSE(volume_.copyItem(source_, at(std::string("a\0b", 3))));
  EXPECT_EQ(medium_->log, Log{});
  EXPECT_EQ(entries(), 0U);
}

TEST_F(PosixVolumeTest, WhatTheMediumRefusesIsNotCreated) {
  medium_->refused = "A";
  EXPECT_FALSE(volume_.createDirectory(at("A/B")));
  EXPECT_FALSE(volume_.copyItem(source_, at("A")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(medium_->log, (Log{"admit directory A", "admit file A 5"}));
}

TEST_F(PosixVolumeTest, ADirectoryThatCannotBeMadeIsNotTold) {
  folder_.write("mount/A", "a file");
  EXPECT_FALSE(volume_.createDirectory(at("A")));
  EXPECT_FALSE(volume_.createDirectory(at("A/B")));
  EXPECT_EQ(medium_->log, (Log{"admit directory A", "admit directory A"}));
}

TEST_F(PosixVolumeTest, ACopyNeedsItsDirectoryAndLooksForItAgain) {
  EXPECT_FALSE(volume_.copyItem(source_, at("A/a")));
  EXPECT_FALSE(volume_.copyItem(source_, at("A/B/a")));
  EXPECT_EQ(medium_->log, Log{});
  EXPECT_EQ(entries(), 0U);
  EXPECT_TRUE(volume_.createDirectory(at("A")));
  EXPECT_TRUE(volume_.copyItem(source_, at("A/a")));
}

TEST_F(PosixVolumeTest, AVolumeWhoseRootHasGoneTakesNothing) {
  std::filesystem::remove(mount_);
  EXPECT_FALSE(volume_.createDirectory(at("A")));
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  EXPECT_FALSE(exists(mount_));
}

TEST_F(PosixVolumeTest, AMovedRootIsStillTheVolumeAndItsOldPathStaysEmpty) {
  std::filesystem::rename(mount_, folder_.path("moved"));
  std::filesystem::create_directory(mount_);
  EXPECT_TRUE(volume_.createDirectory(at("A")));
  EXPECT_TRUE(volume_.copyItem(source_, at("A/a")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(test::contentOf(folder_.path("moved/A/a")), "audio");
}

TEST_F(PosixVolumeTest, ASymbolicLinkToAFileIsCopiedAsTheFile) {
  folder_.write("file", "content");
  std::filesystem::create_symlink("file", folder_.path("link"));
  EXPECT_TRUE(volume_.copyItem(folder_.path("link"), at("a")));
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(at("a"))));
  EXPECT_EQ(test::contentOf(at("a")), "content");
}

TEST_F(PosixVolumeTest, WhatIsNoRegularFileIsNotCopiedNorOpened) {
  ASSERT_EQ(::mkfifo(folder_.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("fifo", folder_.path("link"));
  for (const std::string& source :
       {folder_.path("fifo"), folder_.path("link"), folder_.path("none"),
        folder_.makeFolder("folder"), std::string("/dev/zero"), std::string()}) {
    EXPECT_FALSE(volume_.copyItem(source, at("a"))) << source;
    EXPECT_FALSE(std::filesystem::exists(at("a"))) << source;
  }
}

TEST_F(PosixVolumeTest, FollowsNoSymbolicLinkOnTheVolume) {
  const std::string outside = folder_.makeFolder("outside");
  std::filesystem::create_symlink(outside, at("link"));
  std::filesystem::create_symlink(folder_.path("new"), at("file"));
  EXPECT_FALSE(volume_.createDirectory(at("link")));
  EXPECT_FALSE(volume_.createDirectory(at("link/A")));
  EXPECT_FALSE(volume_.copyItem(source_, at("link/a")));
  EXPECT_FALSE(volume_.copyItem(source_, at("file")));
  EXPECT_TRUE(std::filesystem::is_empty(outside));
  EXPECT_FALSE(exists(folder_.path("new")));
}

// /proc is another file system than the one that "/" is on, wherever tests run.
TEST(PosixVolumeOnTwoFileSystems, EntersNoOtherFileSystem) {
  StopSource stop;
  const auto medium = std::make_shared<TestMedium>();
  PosixVolume volume(FileHandle(::open("/", O_RDONLY | O_DIRECTORY)), "/", medium, stop);
  EXPECT_TRUE(volume.createDirectory("/etc"));
  EXPECT_FALSE(volume.createDirectory("/proc"));
  EXPECT_FALSE(volume.createDirectory("/proc/self"));
  EXPECT_FALSE(volume.copyItem("/etc/passwd", "/proc/sys/kernel/none"));
  EXPECT_EQ(medium->log, (Log{"admit directory proc", "admit directory proc"}));
}

TEST_F(PosixVolumeTest, TheNextFileOfADirectoryAndTheFirstOfAnotherGoWhereTheyBelong) {
  EXPECT_TRUE(volume_.createDirectory(at("A/B")));
  EXPECT_TRUE(volume_.createDirectory(at("B")));
  for (const char* file : {"A/1", "A/2", "A/B/3", "B/4", "5", "6", "A/7"}) {
    EXPECT_TRUE(volume_.copyItem(source_, at(file))) << file;
    EXPECT_EQ(test::contentOf(at(file)), "audio") << file;
  }
}

TEST_F(PosixVolumeTest, WhatIsTooLargeForTheFileSystemIsNotBegun) {
  calls_.furthest = 5;
  EXPECT_TRUE(volume_.copyItem(source_, at("a")));
  calls_.furthest = 4;
  medium_->bytesAdmitted = 0;
  EXPECT_FALSE(volume_.copyItem(source_, at("b")));
  EXPECT_EQ(medium_->bytesAdmitted, 0);
  EXPECT_FALSE(exists(at("b")));
}

TEST_F(PosixVolumeTest, AStopEndsACopyAtTheNextPieceAndBehindItsLastOne) {
  medium_->onBytes = [&] { stop_.request(); };
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  EXPECT_EQ(medium_->log, (Log{"admit file a 5", "admit bytes 5"}));
  StopSource stop;
  PosixVolume volume(open(), mount_, medium_, stop, calls_);
  medium_->onBytes = [&] { stop.request(); };
  medium_->log.clear();
  EXPECT_FALSE(volume.copyItem(folder_.write("big", std::string(3 * kMiB, 'b')), at("a")));
  EXPECT_EQ(medium_->log, (Log{"admit file a 3145728", "admit bytes 1048576"}));
  EXPECT_EQ(entries(), 0U);
}

TEST_F(PosixVolumeTest, NothingBeginsOnceStopped) {
  stop_.request();
  EXPECT_FALSE(volume_.createDirectory(at("A")));
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  EXPECT_EQ(medium_->log, Log{});
  EXPECT_EQ(entries(), 0U);
}

TEST_F(PosixVolumeTest, NewEntriesHaveDefaultAttributes) {
  const mode_t before = ::umask(0027);
  EXPECT_TRUE(volume_.createDirectory(at("A")));
  EXPECT_TRUE(volume_.copyItem(source_, at("a")));
  ::umask(before);
  struct stat status {};
  ASSERT_EQ(::stat(at("A").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0750U);
  ASSERT_EQ(::stat(at("a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(PosixVolumeTest, FlushIsTheMediumsForTheRoot) {
  struct stat status {};
  ASSERT_EQ(::stat(mount_.c_str(), &status), 0);
  EXPECT_TRUE(volume_.flush());
  EXPECT_EQ(medium_->flushed, status.st_ino);
  medium_->canFlush = false;
  EXPECT_FALSE(volume_.flush());
}

TEST_F(PosixVolumeTest, LeavesNoDescriptorBehind) {
  const auto count = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = count();
  {
    PosixVolume volume(open(), mount_, medium_, stop_, calls_);
    volume.createDirectory(at("A/B"));
    volume.copyItem(source_, at("A/a"));
    volume.copyItem(source_, at("A/a"));
    calls_.failing = "send";
    volume.copyItem(source_, at("A/b"));
    EXPECT_EQ(count(), before + 2) << "the root and the directory of the last file";
  }
  EXPECT_EQ(count(), before);
}

TEST_F(PosixVolumeTest, KeepsTheModificationTimeOfAnySource) {
  const std::timespec times[2] = {{1, 2}, {1000000000, 123456789}};
  ASSERT_EQ(::utimensat(AT_FDCWD, source_.c_str(), times, 0), 0);
  EXPECT_TRUE(volume_.copyItem(source_, at("a")));
  struct stat status {};
  ASSERT_EQ(::stat(at("a").c_str(), &status), 0);
  EXPECT_EQ(status.st_mtim.tv_sec, 1000000000);
  EXPECT_EQ(status.st_mtim.tv_nsec, 123456789);
  EXPECT_NE(status.st_atim.tv_sec, 0);
}

TEST(PosixVolumePaths, EndInNoSlash) {
  EXPECT_EQ(PosixVolume::withoutEndingSlash("/media/a//"), "/media/a");
  EXPECT_EQ(PosixVolume::withoutEndingSlash("/media/a"), "/media/a");
  EXPECT_EQ(PosixVolume::withoutEndingSlash("/"), "");
}

}  // namespace
}  // namespace fillstation
