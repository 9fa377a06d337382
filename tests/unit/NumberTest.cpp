#include "Number.h"

#include <gtest/gtest.h>

#include <limits>

namespace fillstation::test {
namespace {

TEST(Number, KeepsTheWholeRangeOfItsValue) {
  for (const std::int64_t value : {std::numeric_limits<std::int64_t>::min(), std::int64_t{-1},
                                   std::int64_t{0}, std::numeric_limits<std::int64_t>::max()}) {
    EXPECT_TRUE(Number(value));
    EXPECT_EQ(Number(value).value(), value);
    EXPECT_EQ(textOf(Number(value)), std::to_string(value));
  }
}

TEST(Number, AbsentOneCountsZeroAndReadsNullAndAnyValueButZeroIsTrue) {
  EXPECT_FALSE(Number());
  EXPECT_EQ(Number().value(), 0);
  EXPECT_EQ(textOf(Number()), "(null)");
  EXPECT_FALSE(Number().isTrue());
  EXPECT_FALSE(Number(0).isTrue());
  EXPECT_TRUE(Number(1).isTrue());
  EXPECT_TRUE(Number(-1).isTrue());
}

TEST(Number, SameMeansTheSameBoxNotTheSameValue) {
  const Number number(7);
  const Number copy = number;
  EXPECT_TRUE(number.isSame(copy));
  EXPECT_FALSE(number.isSame(Number(7)));
  EXPECT_FALSE(number.isSame(Number()));
  EXPECT_TRUE(Number().isSame(Number()));
}

TEST(Number, OrderFollowsTheBoxesNotTheValuesWithNoneBelow) {
  const Number one(1);
  const Number other(1);
  EXPECT_NE(one.ordersAbove(other), other.ordersAbove(one));
  EXPECT_FALSE(one.ordersAbove(one));
  EXPECT_TRUE(Number(-5).ordersAbove(Number()));
  EXPECT_FALSE(Number().ordersAbove(Number(-5)));
  EXPECT_FALSE(Number().ordersAbove(Number()));
}

}  // namespace
}  // namespace fillstation::test
