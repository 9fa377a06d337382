#include "PosixVolume.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "FakeCalls.h"

namespace fillstation {
namespace {

using Log = std::vector<std::string>;

constexpr std::int64_t kOneMiB = 1048576;
constexpr int kRoot = 77;

class WriteWindowTest : public testing::Test {
 protected:
  ~WriteWindowTest() override { std::fclose(file_); }

  bool write(std::int64_t count) { return window_.written(::fileno(file_), count); }
  Log takeLog() { return std::exchange(calls_.log, {}); }
  void writeFile(int mebibytes) {
    for (int index = 0; index < mebibytes; ++index) {
      EXPECT_TRUE(window_.makeRoom(kOneMiB));
      EXPECT_TRUE(write(kOneMiB));
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

TEST_F(WriteWindowTest, StartsEachPieceAndWaitsForEarlierOnes) {
  EXPECT_TRUE(write(kOneMiB));
  EXPECT_EQ(takeLog(), Log{"start 0 1048576"});
  EXPECT_TRUE(write(7 * kOneMiB));
  EXPECT_EQ(takeLog(), Log{"start 1048576 7340032"});
  EXPECT_TRUE(write(1));
  EXPECT_EQ(takeLog(), Log{"wait 0 1"});
  EXPECT_TRUE(write(kOneMiB));
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

TEST_F(WriteWindowTest, ALargeFileLeavesItsLastPieces) {
  writeFile(64);
  writeFile(8);
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(write(kOneMiB));
  EXPECT_EQ(takeLog(), Log{"start 0 1048576"});
  window_.fileEnds();
  EXPECT_TRUE(window_.makeRoom(1));
  EXPECT_EQ(volumeSyncs(), 1U);
}

TEST_F(WriteWindowTest, AfterTheVolumeIsSyncedEverythingIsSettled) {
  writeFile(10);
  for (int index = 0; index < 8; ++index) {
    EXPECT_TRUE(write(kOneMiB));
  }
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(window_.makeRoom(1));
  EXPECT_EQ(volumeSyncs(), 1U);
  // The 8 MiB before are settled, so that the wait begins behind them.
  EXPECT_TRUE(window_.makeRoom(16 * kOneMiB));
  EXPECT_EQ(volumeSyncs(), 0U);
  EXPECT_TRUE(write(8 * kOneMiB));
  EXPECT_EQ(takeLog(), Log{"start 8388608 8388608"});
  EXPECT_TRUE(write(1));
  EXPECT_EQ(takeLog(), Log{"wait 8388608 1"});
  EXPECT_TRUE(window_.makeRoom(8 * kOneMiB + 1));
  EXPECT_EQ(volumeSyncs(), 1U);
}

TEST_F(WriteWindowTest, EveryFailureIsReported) {
  calls_.failing = "start";
  EXPECT_FALSE(write(kOneMiB));
  calls_.failing = "wait";
  EXPECT_TRUE(write(7 * kOneMiB));
  EXPECT_FALSE(write(1));
  calls_.failing = "sync volume";
  EXPECT_TRUE(window_.makeRoom(8 * kOneMiB));
  EXPECT_FALSE(window_.makeRoom(8 * kOneMiB + 1));
  EXPECT_FALSE(window_.makeRoom(8 * kOneMiB + 1));
  calls_.failing = "";
  EXPECT_TRUE(window_.makeRoom(8 * kOneMiB + 1));
}

TEST(KernelCalls, MakeTheRealCalls) {
  KernelCalls& calls = KernelCalls::real();
  EXPECT_EQ(calls.seek(-1, 0), -1);
  EXPECT_EQ(calls.advise(-1, POSIX_FADV_SEQUENTIAL), EBADF);
  EXPECT_EQ(calls.syncFileRange(-1, 0, 2, SYNC_FILE_RANGE_WRITE), -1);
  EXPECT_EQ(calls.syncVolume(-1), -1);
  EXPECT_EQ(calls.close(-1), -1);
}

class ClosersTest : public testing::Test {
 protected:
  // The descriptor of the last one.
  int close(int count) {
    int descriptor = -1;
    for (int file = 0; file < count; ++file) {
      descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
      closers->close(FileHandle(descriptor));
    }
    return descriptor;
  }
  static bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) != -1; }

  test::HeldCloses calls;
  std::unique_ptr<Closers> closers = std::make_unique<Closers>(calls);
};

TEST_F(ClosersTest, ClosesBeginSixteenAtATimeAndElsewhere) {
  EXPECT_EQ(Closers::kTogether, 16U);
  close(15);
  EXPECT_EQ(calls.most(), 0);
  const int descriptor = close(1);
  calls.waitFor(16);
  close(15);
  EXPECT_EQ(calls.most(), 16);
  EXPECT_TRUE(isOpen(descriptor));
  calls.allow(31);
  EXPECT_TRUE(closers->finish());
  EXPECT_FALSE(isOpen(descriptor));
}

TEST_F(ClosersTest, ClosesLastAtTheSameTimeUpToTheLimit) {
  EXPECT_EQ(Closers::kMost, 32U);
  close(32);
  calls.waitFor(32);
  std::thread more([this] { close(16); });
  calls.allow(48);
  more.join();
  EXPECT_TRUE(closers->finish());
  EXPECT_EQ(calls.most(), 32);
}

TEST_F(ClosersTest, GoWhenEverythingIsClosed) {
  const int descriptor = close(1);
  std::thread later([this] { calls.allow(1); });
  closers.reset();
  later.join();
  EXPECT_FALSE(isOpen(descriptor));
  EXPECT_EQ(calls.most(), 1) << "closed as the others are";
}

}  // namespace
}  // namespace fillstation
