#include "BenchPlayer.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <limits>

#include "BenchFolder.h"
#include "TempFolder.h"

namespace fillstation {

namespace {

std::string blocks(std::string_view letters) {
  std::string all;
  for (const char letter : letters) {
    all += std::string(4096, letter == '0' ? '\0' : letter);
  }
  return all;
}

// A medium of five blocks and a piece of one.
class BenchPlayerTest : public ::testing::Test {
 protected:
  std::shared_ptr<BenchPlayer> playerOn(const std::string& image, const BenchFaults& faults) const {
    BenchIdentity identity;
    identity.faults = faults;
    return std::make_shared<BenchPlayer>(image,
                                         FileHandle(::open(image.c_str(), O_RDWR | O_CLOEXEC)),
                                         identity, BenchPlayer::Place{"vp0", 1});
  }

  // What the medium holds once so many bytes have been copied.
  std::string held(Lie lie, std::int64_t from, std::int64_t bytes, std::int64_t copied = 1) const {
    BenchFaults faults;
    faults.lie = lie;
    faults.lieFrom = from;
    faults.lieBytes = bytes;
    const std::string image = folder.write("a.img", content);
    const auto player = playerOn(image, faults);
    player->addCopied(copied);
    EXPECT_TRUE(player->applyLie());
    return test::contentOf(image);
  }

  test::TempFolder folder;
  std::string content = blocks("abc0e") + "piece";
};

TEST_F(BenchPlayerTest, AMediumThatDropsHasZerosInEachBlockOfThePart) {
  EXPECT_EQ(held(Lie::kDrops, 4096, 0), blocks("a0000") + "piece");
  EXPECT_EQ(held(Lie::kDrops, 4096, std::numeric_limits<std::int64_t>::max()),
            blocks("a0000") + "piece");
  EXPECT_EQ(held(Lie::kDrops, 4096, 8192), blocks("a000e") + "piece");
  EXPECT_EQ(held(Lie::kDrops, 4096, 4096), blocks("a0c0e") + "piece");
  EXPECT_EQ(held(Lie::kDrops, 4096, 4095), content);
  EXPECT_EQ(held(Lie::kDrops, std::int64_t{1} << 40, 0), content);
}

TEST_F(BenchPlayerTest, AMediumThatFlipsChangesOneBitInEachBlockOfThePart) {
  content[4097] = 'x';
  std::string flipped = content;
  flipped[4096] = 'b' ^ 1;
  flipped[8192] = 'c' ^ 1;
  EXPECT_EQ(held(Lie::kFlips, 4096, 8192), flipped);
}

TEST_F(BenchPlayerTest, AMediumThatWrapsHasTheLastOfTwoBlocksInBothPlaces) {
  EXPECT_EQ(held(Lie::kWraps, 8192, 0), blocks("ebcbe") + "piece");
}

TEST_F(BenchPlayerTest, AMediumTellsTheTruthOfWhatWasThereBefore) {
  EXPECT_EQ(held(Lie::kDrops, 4096, 0, 0), content);
  EXPECT_EQ(held(Lie::kNone, 4096, 0), content);
}

TEST_F(BenchPlayerTest, AFileSystemIsDescribedOnceItIsKnown) {
  BenchPlayerPlan plan;
  plan.name = "a";
  plan.label = "BOOKS";
  ASSERT_EQ(createPlayer(folder.path(), plan), std::nullopt);
  const auto player = playerOn(folder.path("pulled/a.img"), {});
  EXPECT_EQ(player->copyDescription()->volumeName, std::nullopt);
  player->setKnown(true);
  EXPECT_EQ(player->copyDescription()->volumeName, "BOOKS");
}

}  // namespace

}  // namespace fillstation
