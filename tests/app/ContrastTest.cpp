#include "Contrast.h"

#include <gtest/gtest.h>

namespace fillstation {
namespace {

TEST(ContrastTest, IsThatOfTheWebsGuidelines) {
  EXPECT_DOUBLE_EQ(contrast(Qt::black, Qt::white), 21);
  EXPECT_DOUBLE_EQ(contrast(Qt::white, Qt::black), 21);
  EXPECT_DOUBLE_EQ(contrast(Qt::red, Qt::red), 1);
  EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.005);
  EXPECT_NEAR(contrast(Qt::blue, Qt::white), 8.59, 0.005);
  EXPECT_NEAR(contrast(Qt::red, Qt::white), 4.0, 0.005);
  EXPECT_NEAR(contrast(Qt::green, Qt::black), 15.3, 0.005);
  EXPECT_NEAR(contrast(QColor(10, 10, 10), Qt::black), 1.06, 0.005);
}

TEST(ContrastTest, AReadableColourStaysAsItIs) {
  EXPECT_EQ(readable(Qt::blue, Qt::white), QColor(Qt::blue));
  EXPECT_EQ(readable(Qt::yellow, Qt::black), QColor(Qt::yellow));
}

TEST(ContrastTest, AnUnreadableColourIsMixedUntilItCanBeRead) {
  EXPECT_EQ(readable(Qt::blue, Qt::black).name(), QStringLiteral("#6666ff"));
  EXPECT_EQ(readable(Qt::yellow, Qt::white).name(), QStringLiteral("#737300"));
  EXPECT_EQ(readable(Qt::black, Qt::black).name(), QStringLiteral("#808080"));
}

TEST(ContrastTest, AsMuchAsIsAskedForAndLittleMore) {
  for (int shade = 0; shade < 256; ++shade) {
    const QColor ground(shade, shade, shade);
    for (const double least : {kVisibleOutline, kReadableText}) {
      const double reached = contrast(readable(ground, ground, least), ground);
      EXPECT_GE(reached, least) << shade;
      EXPECT_LT(reached, 1.4 * least) << shade;
    }
  }
}

}  // namespace
}  // namespace fillstation
