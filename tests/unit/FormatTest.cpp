#include "Format.h"

#include <gtest/gtest.h>

#include "Number.h"
#include "Url.h"

namespace fillstation::test {
namespace {

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

}  // namespace
}  // namespace fillstation::test
