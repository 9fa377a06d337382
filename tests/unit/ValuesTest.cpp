#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Atomic.h"
#include "Format.h"
#include "Number.h"
#include "Url.h"

namespace fillstation::test {
namespace {

TEST(Atomic, AccessesOfSeveralThreadsAreIndivisible) {
  const std::string first(100, 'a');
  const std::string second(50, 'b');
  Atomic<std::string> property(first);
  std::atomic<bool> whole = true;
  std::vector<std::thread> threads;
  for (const std::string& text : {first, second}) {
    threads.emplace_back([&property, text] {
      for (int round = 0; round < 5000; ++round) {
        property.set(text);
      }
    });
    threads.emplace_back([&] {
      for (int round = 0; round < 5000; ++round) {
        const std::string seen = property.get();
        if (seen != first && seen != second) {
          whole = false;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(whole);
}

// Looks at the property that held it while it goes.
struct Looker {
  explicit Looker(Atomic<std::shared_ptr<Looker>>& held, bool& seenEmpty)
      : property(held), sawNothing(seenEmpty) {}
  ~Looker() { sawNothing = property.get() == nullptr; }
  Looker(const Looker&) = delete;
  Looker& operator=(const Looker&) = delete;

  Atomic<std::shared_ptr<Looker>>& property;
  bool& sawNothing;
};

TEST(Atomic, ReplacedValueGoesAfterTheLockIsFree) {
  bool sawNothing = false;
  Atomic<std::shared_ptr<Looker>> property;
  property.set(std::make_shared<Looker>(property, sawNothing));
  property.set(nullptr);
  EXPECT_TRUE(sawNothing);
}

TEST(Format, BothPlaceholdersAreReplacedInOrder) {
  EXPECT_EQ(formatText("%s (%@)", "/dev/sdb", std::string("SONGS")), "/dev/sdb (SONGS)");
  EXPECT_EQ(formatText("%@%@", "a", "b"), "ab");
}

TEST(Format, AbsentTextsReadNull) {
  const char* nothing = nullptr;
  EXPECT_EQ(formatText("%s", nothing), "(null)");
  EXPECT_EQ(formatText("%@", std::optional<std::string>()), "(null)");
  EXPECT_EQ(formatText("%@", std::optional<std::string>("x")), "x");
}

TEST(Format, NumbersAndAddressesReadAsTheirTexts) {
  EXPECT_EQ(formatText("%@ %@", Number(-12), Url::withString("file:///a%20b")),
            "-12 file:///a%20b");
}

TEST(Format, InsertedTextIsNotSearchedForPlaceholders) {
  EXPECT_EQ(formatText("%@-%@", "%@", "b"), "%@-b");
}

TEST(Format, OtherPercentSignsStay) {
  EXPECT_EQ(formatText("100% %d %% %", "x"), "100% %d %% %");
  EXPECT_EQ(formatText("%d%s@", "x"), "%dx@");
  EXPECT_EQ(formatText("@s%", "x"), "@s%");
}

TEST(Format, LeftoversAreLeftAlone) {
  EXPECT_EQ(formatText("%@ and %@", "one"), "one and %@");
  EXPECT_EQ(formatText("none", "one"), "none");
  EXPECT_EQ(formatText("%@"), "%@");
  EXPECT_EQ(formatText("", "one"), "");
}

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
