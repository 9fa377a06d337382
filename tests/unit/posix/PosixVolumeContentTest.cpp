#include "PosixVolumeRig.h"

namespace fillstation {
namespace {

TEST_F(PosixVolumeTest, CopiesInPiecesOfOneMebibyteAndReadsAheadWhatIsMoreThanOne) {
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

// Also where the kernel can't copy: it is asked once then, and not for every file.
TEST_F(PosixVolumeTest, CopiesWhateverTheBytesAreHoweverTheyAreMoved) {
  std::string content;
  for (std::size_t index = 0; index < 3 * kMiB + 17; ++index) {
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

TEST_F(PosixVolumeTest, AnyOtherFailureInTheKernelIsTheCopys) {
  calls_.sendError = EIO;
  EXPECT_FALSE(volume_.copyItem(source_, at("a")));
  calls_.sendError = 0;
  EXPECT_TRUE(volume_.copyItem(source_, at("a")));
  EXPECT_EQ(calls_.sendsRefused, 1);
}

// The kernel's answer to the first piece counts: one that comes later is a failure of the medium.
TEST_F(PosixVolumeTest, WhatTheKernelRefusesInTheMiddleOfAPieceIsNotCarried) {
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
    if (call == "sync volume") {  // the room that earlier files left is used up
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
}

TEST_F(PosixVolumeTest, AMediumThatFailsInTheMiddleLeavesNothing) {
  medium_->mostBytes = static_cast<std::int64_t>(kMiB);
  EXPECT_FALSE(volume_.copyItem(folder_.write("big", std::string(3 * kMiB, 'b')), at("a")));
  EXPECT_EQ(entries(), 0U);
  EXPECT_EQ(medium_->log,
            (Log{"admit file a 3145728", "admit bytes 1048576", "admit bytes 1048576"}));
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
