#include "FatNames.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "FatText.h"

namespace fillstation {

namespace {

std::string times(std::string_view text, int count) {
  std::string all;
  for (int time = 0; time < count; ++time) {
    all += text;
  }
  return all;
}

TEST(FatNamesTest, OrdinaryNamesAreFine) {
  for (const std::string name : {"a", "a.mp3", " a", "ü", "😀", "a+,;=[]b", "-", "~!@#$%^&()'`{}"}) {
    EXPECT_EQ(fatNameError(name), 0) << name;
  }
}

TEST(FatNamesTest, EveryForbiddenCharacterIsRefused) {
  for (const char letter : std::string(":?*<>|\"\\\x01\x1f\n")) {
    EXPECT_EQ(fatNameError(std::string("a") + letter + "b"), EINVAL) << letter;
  }
  EXPECT_EQ(fatNameError("a b"), 0);
}

TEST(FatNamesTest, InvalidUtf8IsRefused) {
  EXPECT_EQ(fatNameError("a\xff"), EINVAL);
  EXPECT_EQ(fatNameError("a\xc3"), EINVAL);
}

TEST(FatNamesTest, ABlankAtTheEndIsRefused) {
  EXPECT_EQ(fatNameError("a "), EINVAL);
  EXPECT_EQ(fatNameError("a .."), EINVAL);
}

TEST(FatNamesTest, NothingButDotsIsNoName) {
  EXPECT_EQ(fatNameError("..."), ENOENT);
  EXPECT_EQ(fatNameError(""), ENOENT);
}

TEST(FatNamesTest, NamesHaveAtMost255Units) {
  EXPECT_EQ(fatNameError(times("a", 255)), 0);
  EXPECT_EQ(fatNameError(times("a", 256)), ENAMETOOLONG);
  EXPECT_EQ(fatNameError(times("ü", 255)), 0);
  EXPECT_EQ(fatNameError(times("😀", 127)), 0);
  EXPECT_EQ(fatNameError(times("😀", 128)), ENAMETOOLONG);
  EXPECT_EQ(fatNameError(times("a", 255) + "."), 0);
}

TEST(FatNamesTest, DotsAtTheEndFallAway) {
  EXPECT_EQ(fatName("a.."), "a");
  EXPECT_EQ(fatName("a.b"), "a.b");
}

TEST(FatNamesTest, CaseCountsInAsciiOnlyNot) {
  EXPECT_EQ(foldedFatName("AZ@[az."), "az@[az");
  EXPECT_EQ(foldedFatName("Ü"), "Ü");
}

TEST(FatNamesTest, ASlotTakesThirteenUnits) {
  EXPECT_EQ(fatSlots("a"), 2);
  EXPECT_EQ(fatSlots(times("a", 13)), 2);
  EXPECT_EQ(fatSlots(times("a", 14)), 3);
  EXPECT_EQ(fatSlots(times("a", 13) + "."), 2);
}

TEST(FatNamesTest, TextsAreConvertedBothWays) {
  EXPECT_EQ(utf16Of("aü😀"), u"aü😀");
  EXPECT_EQ(utf16Of("\xEF\xBB\xBF"
                    "a"),
            u"\uFEFFa");
  EXPECT_EQ(utf16Of("\xff"), std::nullopt);
  EXPECT_EQ(utf8Of(u"aü😀"), "aü😀");
  EXPECT_EQ(utf8Of(std::u16string(1, char16_t{0xD83D}) + u"x"), "?x");
}

}  // namespace

}  // namespace fillstation
