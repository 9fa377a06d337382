#include "PosixVolume.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "FakeCalls.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

using Log = std::vector<std::string>;
constexpr std::size_t kMiB = 1048576;

// Admits everything unless told otherwise, and records what it was told.
class TestMedium : public VolumeMedium {
 public:
  int admitDirectory(const std::string& relativePath) override {
    log.push_back("admit directory " + relativePath);
    return relativePath == refused ? ENOSPC : 0;
  }
  int admitFile(const std::string& relativePath, std::int64_t size) override {
    log.push_back("admit file " + relativePath + " " + std::to_string(size));
    return relativePath == refused ? EINVAL : 0;
  }
  int admitBytes(std::int64_t count) override {
    log.push_back("admit bytes " + std::to_string(count));
    if (onBytes) {
      onBytes();
    }
    bytesAdmitted += count;
    return bytesAdmitted > mostBytes ? EIO : 0;
  }
  void created(const std::string& relativePath, bool isDirectory) override {
    log.push_back((isDirectory ? "created directory " : "created file ") + relativePath);
  }
  bool flush(int rootDescriptor) override {
    struct stat status {};
    ::fstat(rootDescriptor, &status);
    flushed = status.st_ino;
    return canFlush;
  }

  std::string refused;
  std::int64_t bytesAdmitted = 0;
  std::int64_t mostBytes = INT64_MAX;
  std::function<void()> onBytes;
  bool canFlush = true;
  ino_t flushed = 0;
  Log log;
};

class PosixVolumeTest : public testing::Test {
 protected:
  PosixVolumeTest()
      : mount_(folder_.makeFolder("mount")),
        medium_(std::make_shared<TestMedium>()),
        volume_(open(), mount_, medium_, stop_, calls_) {}

  FileHandle open() { return FileHandle(::open(mount_.c_str(), O_RDONLY | O_DIRECTORY)); }
  std::string at(const std::string& below) const { return mount_ + "/" + below; }
  bool exists(const std::string& path) const {
    return std::filesystem::exists(std::filesystem::symlink_status(path));
  }
  std::size_t entries() const {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(mount_), {}));
  }

  test::TempFolder folder_;
  std::string mount_;
  std::string source_ = folder_.write("source.mp3", "audio");
  StopSource stop_;
  test::FakeCalls calls_;
  std::shared_ptr<TestMedium> medium_;
  PosixVolume volume_;
};

TEST_F(PosixVolumeTest, CopiesAndTellsTheMedium) {
  EXPECT_TRUE(volume_.createDirectory(at("A/B")));
  EXPECT_TRUE(volume_.copyItem(source_, at("A/B/01.mp3")));
  EXPECT_EQ(test::contentOf(at("A/B/01.mp3")), "audio");
  EXPECT_EQ(medium_->log, (Log{"admit directory A", "created directory A", "admit directory A/B",
                               "created directory A/B", "admit file A/B/01.mp3 5", "admit bytes 5",
                               "created file A/B/01.mp3"}));
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
  EXPECT_EQ(medium_->log.back(), "created file A/B/c");
}

TEST_F(PosixVolumeTest, AMountPathMayEndInASlash) {
  PosixVolume volume(open(), mount_ + "//", medium_, stop_, calls_);
  EXPECT_TRUE(volume.copyItem(source_, at("a")));
  EXPECT_TRUE(exists(at("a")));
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

TEST_F(PosixVolumeTest, NamesWithDotsAreNamesLikeOthers) {
  EXPECT_TRUE(volume_.createDirectory(at("...")));
  EXPECT_TRUE(volume_.copyItem(source_, at(".../..a")));
  EXPECT_TRUE(volume_.copyItem(source_, at(".hidden")));
}

TEST_F(PosixVolumeTest, TheMountPathItselfExistsAlready) {
  EXPECT_FALSE(volume_.copyItem(source_, mount_));
  EXPECT_FALSE(volume_.copyItem(source_, mount_ + "/"));
  EXPECT_EQ(medium_->log, Log{});
}

TEST_F(PosixVolumeTest, ARefusedDirectoryIsNotCreated) {
  medium_->refused = "A";
  EXPECT_FALSE(volume_.createDirectory(at("A/B")));
  EXPECT_FALSE(exists(at("A")));
  EXPECT_EQ(medium_->log, Log{"admit directory A"});
}

TEST_F(PosixVolumeTest, ARefusedFileIsNotCreated) {
  medium_->refused = "a";
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  EXPECT_FALSE(exists(at("a")));
  EXPECT_EQ(medium_->log, Log{"admit file a 5"});
}

TEST_F(PosixVolumeTest, ADirectoryThatCannotBeMadeIsNotTold) {
  folder_.write("mount/A", "a file");
  EXPECT_FALSE(volume_.createDirectory(at("A")));
  EXPECT_FALSE(volume_.createDirectory(at("A/B")));
  EXPECT_EQ(medium_->log, (Log{"admit directory A", "admit directory A"}));
}

TEST_F(PosixVolumeTest, ACopyNeedsItsDirectory) {
  EXPECT_FALSE(volume_.copyItem(source_, at("A/a")));
  EXPECT_FALSE(volume_.copyItem(source_, at("A/B/a")));
  EXPECT_EQ(medium_->log, Log{});
  EXPECT_EQ(entries(), 0U);
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

TEST_F(PosixVolumeTest, CopiesInPiecesOfOneMebibyte) {
  const std::string content(2 * kMiB + 3, 'm');
  EXPECT_TRUE(volume_.copyItem(folder_.write("big", content), at("big")));
  EXPECT_EQ(test::contentOf(at("big")), content);
  EXPECT_EQ(medium_->log, (Log{"admit file big 2097155", "admit bytes 1048576",
                               "admit bytes 1048576", "admit bytes 3", "created file big"}));
  EXPECT_EQ(calls_.log, (Log{"advise 2", "advise 3", "start 0 1048576", "start 1048576 1048576",
                             "start 2097152 3"}));
  static_assert(POSIX_FADV_SEQUENTIAL == 2 && POSIX_FADV_WILLNEED == 3);
}

TEST_F(PosixVolumeTest, CopiesWhateverTheBytesAre) {
  std::string content;
  for (std::size_t index = 0; index < 3 * kMiB + 17; ++index) {
    content += static_cast<char>((index * 7 + index / 251) & 0xFFU);
  }
  calls_.longestWrite = 100003;
  EXPECT_TRUE(volume_.copyItem(folder_.write("big", content), at("big")));
  EXPECT_TRUE(test::contentOf(at("big")) == content);
}

TEST_F(PosixVolumeTest, AnEmptyFileNeedsNoBytes) {
  EXPECT_TRUE(volume_.copyItem(folder_.write("empty", ""), at("empty")));
  EXPECT_EQ(medium_->log, (Log{"admit file empty 0", "created file empty"}));
}

TEST_F(PosixVolumeTest, AtMostSixteenMebibytesAreNotOnTheMedium) {
  const std::string big = folder_.write("big", std::string(12 * kMiB, 'b'));
  EXPECT_TRUE(volume_.copyItem(big, at("1")));
  EXPECT_TRUE(volume_.copyItem(folder_.write("8", std::string(8 * kMiB, 'e')), at("2")));
  const auto synced = [&] {
    return std::count_if(calls_.log.begin(), calls_.log.end(),
                         [](const auto& line) { return line.starts_with("sync volume"); });
  };
  EXPECT_EQ(synced(), 0);
  EXPECT_TRUE(volume_.copyItem(source_, at("3")));
  EXPECT_EQ(synced(), 1);
}

TEST_F(PosixVolumeTest, EveryFailureRemovesThePartialFile) {
  const std::string big = folder_.write("big", std::string(20 * kMiB, 'b'));
  for (const std::string call :
       {"read", "write", "close", "time", "start", "wait", "sync volume"}) {
    medium_->log.clear();
    calls_.failing = call;
    calls_.callsUntilFailure = 1;
    if (call == "sync volume") {  // the room that earlier files left is used up
      calls_.failing = "";
      EXPECT_TRUE(volume_.copyItem(big, at("before")));
      std::filesystem::remove(at("before"));
      medium_->log.clear();
      calls_.failing = call;
    }
    EXPECT_FALSE(volume_.copyItem(big, at("a"))) << call;
    EXPECT_EQ(entries(), 0U) << call;
    EXPECT_NE(medium_->log.back(), "created file a") << call;
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

TEST_F(PosixVolumeTest, AMediumThatFailsInTheMiddleLeavesNothing) {
  medium_->mostBytes = static_cast<std::int64_t>(kMiB);
  EXPECT_FALSE(volume_.copyItem(folder_.write("big", std::string(3 * kMiB, 'b')), at("a")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(medium_->log,
            (Log{"admit file a 3145728", "admit bytes 1048576", "admit bytes 1048576"}));
}

TEST_F(PosixVolumeTest, AStopEndsACopyAtTheNextPiece) {
  medium_->onBytes = [&] { stop_.request(); };
  EXPECT_FALSE(volume_.copyItem(folder_.write("big", std::string(3 * kMiB, 'b')), at("a")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(medium_->log, (Log{"admit file a 3145728", "admit bytes 1048576"}));
}

TEST_F(PosixVolumeTest, AStopEndsACopyEvenBehindItsLastPiece) {
  medium_->onBytes = [&] { stop_.request(); };
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  EXPECT_EQ(entries(), 0U);
}

TEST_F(PosixVolumeTest, NothingBeginsOnceStopped) {
  stop_.request();
  EXPECT_FALSE(volume_.createDirectory(at("A")));
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  EXPECT_EQ(medium_->log, Log{});
  EXPECT_EQ(entries(), 0U);
}

TEST_F(PosixVolumeTest, ASourceThatShrinksFails) {
  const std::string big = folder_.write("big", std::string(2 * kMiB, 'b'));
  medium_->onBytes = [&] { EXPECT_EQ(::truncate(big.c_str(), kMiB), 0); };
  EXPECT_FALSE(volume_.copyItem(big, at("a")));
  EXPECT_EQ(entries(), 0U);
}

TEST_F(PosixVolumeTest, ASourceThatGrowsFailsBeforeMoreIsAdmitted) {
  const std::string big = folder_.write("big", std::string(kMiB, 'b'));
  medium_->onBytes = [&] { EXPECT_EQ(::truncate(big.c_str(), 3 * kMiB), 0); };
  EXPECT_FALSE(volume_.copyItem(big, at("a")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(medium_->bytesAdmitted, static_cast<std::int64_t>(kMiB));
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
  volume_.createDirectory(at("A/B"));
  volume_.copyItem(source_, at("A/a"));
  volume_.copyItem(source_, at("A/a"));
  calls_.failing = "write";
  volume_.copyItem(source_, at("A/b"));
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
