#include "WriteWindow.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "FakeCalls.h"

namespace fillstation {
namespace {

using Log = std::vector<std::string>;

constexpr std::int64_t kMiB = 1048576;
constexpr int kRoot = 77;

class WriteWindowTest : public testing::Test {
 protected:
  ~WriteWindowTest() override { std::fclose(file_); }

  bool write(std::int64_t count) { return window_.written(::fileno(file_), count); }
  Log takeLog() { return std::exchange(calls_.log, {}); }
  void writeFile(int mebibytes) {
    for (int index = 0; index < mebibytes; ++index) {
      EXPECT_TRUE(window_.makeRoom(kMiB));
      EXPECT_TRUE(write(kMiB));
    }
    window_.fileEnds();
  }
  std::size_t volumeSyncs() {
    const Log log = takeLog();
    return static_cast<std::size_t>(std::count(log.begin(), log.end(), "sync volume 77"));
  }

  std::FILE* file_ = std::tmpfile();
  test::FakeCalls calls_;
  WriteWindow window_{kRoot, calls_};
};

TEST_F(WriteWindowTest, StartsEachPieceAndWaitsForWhatLiesBehind) {
  EXPECT_TRUE(write(kMiB));
  EXPECT_EQ(takeLog(), Log{"start 0 1048576"});
  EXPECT_TRUE(write(7 * kMiB));
  EXPECT_EQ(takeLog(), Log{"start 1048576 7340032"});
  EXPECT_TRUE(write(1));
  EXPECT_EQ(takeLog(), Log{"wait 0 1"});
  EXPECT_TRUE(write(kMiB));
  EXPECT_EQ(takeLog(), (Log{"start 8388609 1048576", "wait 1 1048576"}));
  static_assert(SYNC_FILE_RANGE_WAIT_BEFORE == 1 && SYNC_FILE_RANGE_WAIT_AFTER == 4);
  EXPECT_EQ(calls_.flagsSeen, 1U | SYNC_FILE_RANGE_WRITE | 4U);
}

TEST_F(WriteWindowTest, SmallPiecesAreNotStartedOneByOne) {
  EXPECT_TRUE(write(262143));
  EXPECT_EQ(takeLog(), Log{});
  EXPECT_TRUE(write(262144));
  EXPECT_EQ(takeLog(), Log{"start 262143 262144"});
}

TEST_F(WriteWindowTest, CountsAcrossFilesUpToTheLimit) {
  for (int file = 0; file < 16; ++file) {
    writeFile(1);
  }
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(window_.makeRoom(0));
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(window_.makeRoom(1));
  EXPECT_EQ(volumeSyncs(), 1U);
}

TEST_F(WriteWindowTest, ALargeFileLeavesWhatWasNotWaitedFor) {
  writeFile(64);
  writeFile(8);
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(write(kMiB));
  EXPECT_EQ(takeLog(), Log{"start 0 1048576"});
  window_.fileEnds();
  EXPECT_TRUE(window_.makeRoom(1));
  EXPECT_EQ(volumeSyncs(), 1U);
}

TEST_F(WriteWindowTest, AfterTheVolumeIsSyncedEverythingIsSettled) {
  writeFile(10);
  for (int index = 0; index < 8; ++index) {
    EXPECT_TRUE(write(kMiB));
  }
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(window_.makeRoom(1));
  EXPECT_EQ(volumeSyncs(), 1U);
  // The 8 MiB before are settled, so that the wait begins behind them.
  EXPECT_TRUE(window_.makeRoom(16 * kMiB));
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(write(8 * kMiB));
  EXPECT_EQ(takeLog(), Log{"start 8388608 8388608"});
  EXPECT_TRUE(write(1));
  EXPECT_EQ(takeLog(), Log{"wait 8388608 1"});
}

TEST_F(WriteWindowTest, EveryFailureIsTold) {
  calls_.failing = "start";
  EXPECT_FALSE(write(kMiB));
  calls_.failing = "wait";
  EXPECT_TRUE(write(7 * kMiB));
  EXPECT_FALSE(write(1));
  calls_.failing = "sync volume";
  EXPECT_TRUE(window_.makeRoom(8 * kMiB));
  EXPECT_FALSE(window_.makeRoom(8 * kMiB + 1));
  EXPECT_FALSE(window_.makeRoom(8 * kMiB + 1));
  calls_.failing = "";
  EXPECT_TRUE(window_.makeRoom(8 * kMiB + 1));
}

TEST(KernelCalls, MakeTheRealCalls) {
  std::FILE* const file = std::tmpfile();
  const int descriptor = ::fileno(file);
  KernelCalls& calls = KernelCalls::real();
  EXPECT_EQ(calls.write(descriptor, "abc", 2), 2);
  EXPECT_EQ(::lseek(descriptor, 0, SEEK_SET), 0);
  char text[4] = {};
  EXPECT_EQ(calls.read(descriptor, text, 4), 2);
  EXPECT_STREQ(text, "ab");
  EXPECT_EQ(calls.seek(descriptor, 5), 5);
  EXPECT_EQ(calls.seek(descriptor, 0), 0);
  EXPECT_EQ(calls.seek(descriptor, -1), -1);
  EXPECT_EQ(calls.advise(descriptor, POSIX_FADV_SEQUENTIAL), 0);
  EXPECT_EQ(calls.syncFileRange(descriptor, 0, 2, SYNC_FILE_RANGE_WRITE), 0);
  EXPECT_EQ(calls.syncVolume(descriptor), 0);
  const int copy = ::dup(descriptor);
  EXPECT_EQ(calls.close(copy), 0);
  EXPECT_EQ(calls.close(copy), -1);
  EXPECT_EQ(calls.advise(-1, POSIX_FADV_SEQUENTIAL), EBADF);
  EXPECT_EQ(calls.advise(descriptor, 12345), EINVAL);
  EXPECT_EQ(calls.syncFileRange(descriptor, -1, 2, SYNC_FILE_RANGE_WRITE), -1);
  EXPECT_EQ(calls.syncFileRange(descriptor, 0, -1, SYNC_FILE_RANGE_WRITE), -1);
  EXPECT_EQ(calls.syncFileRange(descriptor, 0, 2, 0x800), -1);
  EXPECT_EQ(calls.syncVolume(-1), -1);
  std::fclose(file);
}

}  // namespace
}  // namespace fillstation
