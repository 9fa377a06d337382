#include "PosixVolume.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "FakeCalls.h"
#include "TempFolder.h"

namespace fillstation {
namespace {

using Log = std::vector<std::string>;
constexpr std::size_t kMiB = 1048576;

// Accepts everything by default, and records its calls.
class TestMedium : public VolumeMedium {
 public:
  int admit(const std::string& relativePath, std::optional<std::int64_t> size) override {
    log.push_back(size ? "admit file " + relativePath + " " + std::to_string(*size)
                       : "admit directory " + relativePath);
    return relativePath == refused ? ENOSPC : 0;
  }
  int admitBytes(std::int64_t count) override {
    log.push_back("admit bytes " + std::to_string(count));
    if (onBytes) {
      onBytes();
    }
    bytesAdmitted += count;
    return bytesAdmitted > mostBytes ? EIO : 0;
  }
  void created(const std::string& relativePath) override {
    log.push_back("created " + relativePath);
  }
  bool closesSlowly(int rootDescriptor) override {
    askedAbout = rootDescriptor;
    return slowClose;
  }
  bool flush(int rootDescriptor) override {
    openAtFlush = filesOpen ? filesOpen() : 0;
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
  bool slowClose = false;
  int askedAbout = -1;
  std::function<int()> filesOpen;
  int openAtFlush = 0;
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

TEST_F(PosixVolumeTest, CopiesAndReportsToTheMedium) {
  EXPECT_TRUE(volume_.createDirectory(at("A/B")));
  EXPECT_TRUE(volume_.copyItem(source_, at("A/B/01.mp3")));
  EXPECT_EQ(test::contentOf(at("A/B/01.mp3")), "audio");
  EXPECT_TRUE(volume_.copyItem(folder_.write("empty", ""), at("empty")));
  EXPECT_EQ(medium_->log, (Log{"admit directory A", "created A", "admit directory A/B",
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

TEST_F(PosixVolumeTest, RefusedEntriesAreNotCreated) {
  medium_->refused = "A";
  EXPECT_FALSE(volume_.createDirectory(at("A/B")));
  EXPECT_FALSE(volume_.copyItem(source_, at("A")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(medium_->log, (Log{"admit directory A", "admit file A 5"}));
}

TEST_F(PosixVolumeTest, ADirectoryThatCannotBeMadeIsNotReported) {
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

TEST_F(PosixVolumeTest, ASymbolicLinkToAFileIsCopiedAsTheFile) {
  folder_.write("file", "content");
  std::filesystem::create_symlink("file", folder_.path("link"));
  EXPECT_TRUE(volume_.copyItem(folder_.path("link"), at("a")));
  EXPECT_TRUE(std::filesystem::is_regular_file(std::filesystem::symlink_status(at("a"))));
  EXPECT_EQ(test::contentOf(at("a")), "content");
}

TEST_F(PosixVolumeTest, OnlyRegularFilesAreOpenedAndCopied) {
  ASSERT_EQ(::mkfifo(folder_.path("fifo").c_str(), 0600), 0);
  std::filesystem::create_symlink("fifo", folder_.path("link"));
  for (const std::string& source :
       {folder_.path("fifo"), folder_.path("link"), folder_.path("none"),
        folder_.makeFolder("folder"), std::string("/dev/zero"), std::string()}) {
    EXPECT_FALSE(volume_.copyItem(source, at("a"))) << source;
    EXPECT_FALSE(std::filesystem::exists(at("a"))) << source;
  }
  EXPECT_EQ(medium_->log, Log{});
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

TEST_F(PosixVolumeTest, ATooLargeFileIsNotBegun) {
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
  EXPECT_FALSE(volume.createDirectory(at("A"))) << "nothing begins once stopped";
  EXPECT_FALSE(volume.copyItem(source_, at("a")));
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
  EXPECT_EQ(volume_.failure().error, 0) << "the medium gave none";
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

TEST_F(PosixVolumeTest, CopiesInPiecesOfOneMebibyteAndReadsLargerFilesAhead) {
  const std::string content(2 * kMiB + 3, 'm');
  EXPECT_TRUE(volume_.copyItem(folder_.write("big", content), at("big")));
  EXPECT_EQ(medium_->log, (Log{"admit file big 2097155", "admit bytes 1048576",
                               "admit bytes 1048576", "admit bytes 3", "created big"}));
  EXPECT_EQ(calls_.log, (Log{"advise 2", "advise 3", "start 0 1048576", "start 1048576 1048576"}));
  static_assert(POSIX_FADV_SEQUENTIAL == 2 && POSIX_FADV_WILLNEED == 3);
  calls_.log.clear();
  EXPECT_TRUE(volume_.copyItem(folder_.write("piece", std::string(kMiB, 'p')), at("a")));
  EXPECT_EQ(calls_.log, Log{"start 0 1048576"});
}

// The same if the kernel can't copy: it is tried once then, and not for every file.
TEST_F(PosixVolumeTest, CopiesAnyBytesByEveryMethod) {
  std::string content;
  for (std::size_t index = 0; index < 3 * kMiB + 1; ++index) {
    content += static_cast<char>((index * 7 + index / 251) & 0xFFU);
  }
  const std::string big = folder_.write("big", content);
  calls_.longest = 100003;
  for (const int error : {0, EINVAL, ENOSYS}) {
    PosixVolume volume(open(), mount_, medium_, stop_, calls_);
    const std::string target = at(std::to_string(error));
    calls_.sendError = error;
    calls_.sendsRefused = 0;
    EXPECT_TRUE(volume.copyItem(big, target));
    EXPECT_TRUE(test::contentOf(target) == content);
    EXPECT_TRUE(volume.copyItem(source_, target + "a"));
    EXPECT_EQ(test::contentOf(target + "a"), "audio");
    EXPECT_EQ(calls_.sendsRefused, error == 0 ? 0 : 1);
  }
}

// The kernel's answer to the first piece counts: one that comes later is a failure of the medium.
TEST_F(PosixVolumeTest, ARefusalInTheMiddleOfAPieceIsAFailure) {
  struct OncePerFile : test::FakeCalls {
    ssize_t sendFile(int target, int source, std::size_t count) override {
      errno = EINVAL;
      return ++calls % 2 == 0 ? -1 : KernelCalls::sendFile(target, source, count / 2);
    }
    int calls = 0;
  } calls;
  PosixVolume volume(open(), mount_, medium_, stop_, calls);
  EXPECT_FALSE(volume.copyItem(source_, at("a")));
  EXPECT_FALSE(volume.copyItem(source_, at("a")));
  EXPECT_EQ(calls.calls, 4);
}

TEST_F(PosixVolumeTest, SlowClosesAreWaitedForBeforeTheFlushAlone) {
  test::HeldCloses calls;
  medium_->slowClose = true;
  medium_->filesOpen = [&] { return calls.inside(); };
  FileHandle root = open();
  const int descriptor = root.get();
  PosixVolume volume(std::move(root), mount_, medium_, stop_, calls);
  EXPECT_EQ(medium_->askedAbout, descriptor);
  EXPECT_TRUE(volume.copyItem(source_, at("a")));
  EXPECT_TRUE(volume.copyItem(source_, at("b")));
  EXPECT_EQ(medium_->log.back(), "created b");
  std::thread release([&] {
    calls.waitFor(2);
    calls.allow(2);
  });
  EXPECT_TRUE(volume.flush());
  release.join();
  EXPECT_EQ(medium_->openAtFlush, 0);
}

TEST_F(PosixVolumeTest, ASlowCloseThatFailsIsTheFlushs) {
  medium_->slowClose = true;
  PosixVolume volume(open(), mount_, medium_, stop_, calls_);
  calls_.failing = "close";
  EXPECT_TRUE(volume.copyItem(source_, at("a")));
  medium_->flushed = 0;
  EXPECT_FALSE(volume.flush());
  EXPECT_NE(medium_->flushed, 0U) << "what is there is brought to the medium all the same";
}

TEST_F(PosixVolumeTest, EveryFailureRemovesThePartialFile) {
  const std::string big = folder_.write("big", std::string(20 * kMiB, 'b'));
  for (const std::string call :
       {"send", "read", "write", "close", "time", "start", "wait", "sync volume"}) {
    medium_->log.clear();
    calls_.failing = call;
    calls_.callsUntilFailure = 1;
    calls_.sendError = call == "read" || call == "write" ? EINVAL : 0;
    if (call == "sync volume") {  // the space of earlier files is used up
      calls_.failing = "";
      EXPECT_TRUE(volume_.copyItem(big, at("before")));
      std::filesystem::remove(at("before"));
      medium_->log.clear();
      calls_.failing = call;
    }
    EXPECT_FALSE(volume_.copyItem(big, at("a"))) << call;
    EXPECT_EQ(entries(), 0U) << call;
    EXPECT_NE(medium_->log.back(), "created a") << call;
  }
  EXPECT_EQ(volume_.failure().error, EIO) << "not that of the removing";
}

// In the kernel and carried.
TEST_F(PosixVolumeTest, ASourceThatChangesItsSizeFails) {
  for (const int error : {0, EINVAL}) {
    for (const off_t size : {2, 3 * 1048576}) {
      const std::string changing = folder_.write("changing", std::string(kMiB, 'b'));
      medium_->bytesAdmitted = 0;
      medium_->onBytes = [&] { EXPECT_EQ(::truncate(changing.c_str(), size), 0); };
      calls_.sendError = error;
      EXPECT_FALSE(volume_.copyItem(changing, at("a")));
      EXPECT_EQ(entries(), 0U);
      EXPECT_EQ(medium_->bytesAdmitted, static_cast<std::int64_t>(kMiB));
    }
  }
}

}  // namespace
}  // namespace fillstation
