#include "Capacity.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace fillstation {
namespace {

constexpr std::uint64_t kTop = std::uint64_t{1} << 63U;
constexpr std::int64_t kMega = 1024 * 1024;

TEST(UnsignedFromDouble, TruncatesTowardZero) {
  EXPECT_EQ(unsignedFromDouble(0.0), 0U);
  EXPECT_EQ(unsignedFromDouble(0.999), 0U);
  EXPECT_EQ(unsignedFromDouble(7580.9), 7580U);
}

TEST(UnsignedFromDouble, TakesTheBitsOfNegativeValues) {
  EXPECT_EQ(unsignedFromDouble(-0.999), 0U);
  EXPECT_EQ(unsignedFromDouble(-1.0), 18446744073709551615U);
  EXPECT_EQ(unsignedFromDouble(-10.7), 18446744073709551606U);
}

TEST(UnsignedFromDouble, IsExactBelowTwoTo63) {
  EXPECT_EQ(unsignedFromDouble(std::nextafter(0x1p63, 0.0)), kTop - 1024);
}

TEST(UnsignedFromDouble, SetsTheTopBitFromTwoTo63) {
  EXPECT_EQ(unsignedFromDouble(0x1p63), kTop);
  EXPECT_EQ(unsignedFromDouble(0x1p63 + 4096), kTop + 4096);
  EXPECT_EQ(unsignedFromDouble(std::nextafter(0x1p64, 0.0)), 18446744073709549568U);
}

TEST(UnsignedFromDouble, IsDefinedBeyondTheRange) {
  EXPECT_EQ(unsignedFromDouble(0x1p64), kTop);
  EXPECT_EQ(unsignedFromDouble(1e300), kTop);
  EXPECT_EQ(unsignedFromDouble(-0x1p63), kTop);
  EXPECT_EQ(unsignedFromDouble(-0x1p63 * 1.5), kTop);
  EXPECT_EQ(unsignedFromDouble(-1e300), kTop);
}

TEST(UnsignedFromDouble, IsDefinedForWhatIsNoNumber) {
  EXPECT_EQ(unsignedFromDouble(std::numeric_limits<double>::quiet_NaN()), kTop);
  EXPECT_EQ(unsignedFromDouble(std::numeric_limits<double>::infinity()), kTop);
  EXPECT_EQ(unsignedFromDouble(-std::numeric_limits<double>::infinity()), kTop);
}

TEST(Megabytes, AreWholeOnes) {
  EXPECT_EQ(megabytesOf(kMega - 1), 0U);
  EXPECT_EQ(megabytesOf(kMega), 1U);
  EXPECT_EQ(megabytesOf(7948206080), 7580U);
  EXPECT_EQ(megabytesOf(-kMega), 18446744073709551615U);
}

TEST(CapacityText, ShowsKilobytesBelowOneMegabyte) {
  EXPECT_EQ(capacityText(0), "0 KB");
  EXPECT_EQ(capacityText(1023), "0 KB");
  EXPECT_EQ(capacityText(1024), "1 KB");
  EXPECT_EQ(capacityText(kMega - 1), "1023 KB");
}

TEST(CapacityText, ShowsMegabytesFromOneMegabyteUp) {
  EXPECT_EQ(capacityText(kMega), "1 MB");
  EXPECT_EQ(capacityText(2 * kMega - 1), "1 MB");
  EXPECT_EQ(capacityText(7948206080), "7580 MB");
}

TEST(CapacityText, IsComputedInDoublePrecision) {
  // Single precision rounds the first two up to the next megabyte, integers the last one down.
  EXPECT_EQ(capacityText(4294967295), "4095 MB");
  EXPECT_EQ(capacityText(34359738367), "32767 MB");
  EXPECT_EQ(capacityText(std::numeric_limits<std::int64_t>::max()), "8796093022208 MB");
}

TEST(CapacityText, RoundsTheSentinelToZeroKilobytes) { EXPECT_EQ(capacityText(-1), "0 KB"); }

TEST(CapacityText, KeepsTheSignOfKilobytes) { EXPECT_EQ(capacityText(-5000), "-4 KB"); }

TEST(SpaceLeftText, ShowsNegativeKilobytesUnsigned) {
  EXPECT_EQ(spaceLeftText(-5000), "18446744073709551612 KB");
}

TEST(SpaceLeftText, ShowsNegativeMegabytesUnsigned) {
  EXPECT_EQ(spaceLeftText(-10485760), "18446744073709551606 MB");
  EXPECT_EQ(spaceLeftText(-kMega), "18446744073709551615 MB");
}

TEST(SpaceLeftText, IsComputedInDoublePrecision) {
  EXPECT_EQ(spaceLeftText(-std::numeric_limits<std::int64_t>::max()), "18446735277616529408 MB");
}

TEST(SpaceLeftText, ChangesItsUnitAtExactlyOneMegabyte) {
  EXPECT_EQ(spaceLeftText(kMega), "1 MB");
  EXPECT_EQ(spaceLeftText(kMega - 1), "1023 KB");
  EXPECT_EQ(spaceLeftText(0), "0 KB");
}

TEST(SpaceLeft, IsTheDifference) {
  EXPECT_EQ(spaceLeft(10, 3), 7);
  EXPECT_EQ(spaceLeft(0, 5000), -5000);
}

TEST(SpaceLeft, WrapsInsteadOfOverflowing) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(spaceLeft(kMost, -1), std::numeric_limits<std::int64_t>::min());
}

TEST(FileSizeText, IsReadable) {
  EXPECT_EQ(fileSizeText(0), "0 bytes");
  EXPECT_EQ(fileSizeText(1023), "1023 bytes");
  EXPECT_EQ(fileSizeText(1024), "1 KB");
  EXPECT_EQ(fileSizeText(kMega - 1), "1023 KB");
  EXPECT_EQ(fileSizeText(kMega), "1.0 MB");
  EXPECT_EQ(fileSizeText(4404020), "4.2 MB");
  EXPECT_EQ(fileSizeText(4404019), "4.1 MB");
  EXPECT_EQ(fileSizeText(10 * kMega - 1), "9.9 MB");
  EXPECT_EQ(fileSizeText(10 * kMega), "10 MB");
  EXPECT_EQ(fileSizeText(7948206080), "7580 MB");
}

}  // namespace
}  // namespace fillstation
