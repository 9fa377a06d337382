#include "Capacity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace fillstation {
namespace {

constexpr std::uint64_t kTop = std::uint64_t{1} << 63U;
constexpr std::int64_t kMega = 1024 * 1024;
constexpr auto kMost = std::numeric_limits<std::int64_t>::max();

TEST(UnsignedFromDouble, TruncatesTowardZeroAndTakesTheBitsOfNegativeValues) {
  EXPECT_EQ(unsignedFromDouble(0.0), 0U);
  EXPECT_EQ(unsignedFromDouble(0.999), 0U);
  EXPECT_EQ(unsignedFromDouble(7580.9), 7580U);
  EXPECT_EQ(unsignedFromDouble(-0.999), 0U);
  EXPECT_EQ(unsignedFromDouble(-1.0), 18446744073709551615U);
  EXPECT_EQ(unsignedFromDouble(-10.7), 18446744073709551606U);
}

TEST(UnsignedFromDouble, SetsTheTopBitFromTwoTo63) {
  EXPECT_EQ(unsignedFromDouble(std::nextafter(0x1p63, 0.0)), kTop - 1024);
  EXPECT_EQ(unsignedFromDouble(0x1p63), kTop);
  EXPECT_EQ(unsignedFromDouble(0x1p63 + 4096), kTop + 4096);
  EXPECT_EQ(unsignedFromDouble(std::nextafter(0x1p64, 0.0)), 18446744073709549568U);
}

TEST(UnsignedFromDouble, IsDefinedBeyondTheRangeAndForWhatIsNoNumber) {
  for (const double value :
       {0x1p64, 1e300, -0x1p63, -0x1p63 * 1.5, -1e300, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    EXPECT_EQ(unsignedFromDouble(value), kTop) << value;
  }
}

struct SizeCase {
  std::int64_t bytes;
  const char* text;
};

TEST(Megabytes, AreWholeOnes) {
  EXPECT_EQ(megabytesOf(kMega - 1), 0U);
  EXPECT_EQ(megabytesOf(kMega), 1U);
  EXPECT_EQ(megabytesOf(7948206080), 7580U);
  EXPECT_EQ(megabytesOf(-kMega), 18446744073709551615U);
}

TEST(CapacityText, IsInMegabytesFromOneUpAndTruncated) {
  for (const auto& [bytes, text] : {
           SizeCase{0, "0 KB"},
           {1023, "0 KB"},
           {1024, "1 KB"},
           {kMega - 1, "1023 KB"},
           {kMega, "1 MB"},
           {2 * kMega - 1, "1 MB"},
           {7948206080, "7580 MB"},
           // In double precision: single precision rounds the first two up to the next megabyte,
           // integers the last one down.
           {4294967295, "4095 MB"},
           {34359738367, "32767 MB"},
           {kMost, "8796093022208 MB"},
           // Kilobytes keep their sign; the sentinel is rounded to zero.
           {-1, "0 KB"},
           {-5000, "-4 KB"},
       }) {
    EXPECT_EQ(capacityText(bytes), text) << bytes;
  }
}

TEST(SpaceLeftText, ShowsANegativeSpaceUnsigned) {
  for (const auto& [bytes, text] : {
           SizeCase{0, "0 KB"},
           {kMega - 1, "1023 KB"},
           {kMega, "1 MB"},
           {-5000, "18446744073709551612 KB"},
           {-kMega, "18446744073709551615 MB"},
           {-10485760, "18446744073709551606 MB"},
           {-kMost, "18446735277616529408 MB"},
       }) {
    EXPECT_EQ(spaceLeftText(bytes), text) << bytes;
  }
}

TEST(SpaceLeft, IsTheDifferenceAndWrapsInsteadOfOverflowing) {
  EXPECT_EQ(spaceLeft(10, 3), 7);
  EXPECT_EQ(spaceLeft(0, 5000), -5000);
  EXPECT_EQ(spaceLeft(kMost, -1), std::numeric_limits<std::int64_t>::min());
}

TEST(FileSizeText, IsReadable) {
  for (const auto& [bytes, text] : {
           SizeCase{0, "0 bytes"},
           {1023, "1023 bytes"},
           {1024, "1 KB"},
           {kMega - 1, "1023 KB"},
           {kMega, "1.0 MB"},
           {4404020, "4.2 MB"},
           {4404019, "4.1 MB"},
           {10 * kMega - 1, "9.9 MB"},
           {10 * kMega, "10 MB"},
           {7948206080, "7580 MB"},
       }) {
    EXPECT_EQ(fileSizeText(bytes), text) << bytes;
  }
}

}  // namespace
}  // namespace fillstation
