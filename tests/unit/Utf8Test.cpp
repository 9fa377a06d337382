#include "Utf8.h"

#include <gtest/gtest.h>

namespace fillstation::test {
namespace {

TEST(Utf8, DecodesTheSmallestAndLargestCodePointOfEachLength) {
  EXPECT_EQ(decodeUtf8(std::string("\0\x7F", 2)), std::u32string({U'\0', U'\x7F'}));
  EXPECT_EQ(decodeUtf8("\xC2\x80\xDF\xBF"), std::u32string({0x80, 0x7FF}));
  EXPECT_EQ(decodeUtf8("\xE0\xA0\x80\xEF\xBF\xBF"), std::u32string({0x800, 0xFFFF}));
  EXPECT_EQ(decodeUtf8("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), std::u32string({0x10000, 0x10FFFF}));
  EXPECT_EQ(decodeUtf8(""), std::u32string());
}

TEST(Utf8, DecodesEveryBitOfASequence) {
  EXPECT_EQ(decodeUtf8("\xD5\x95"), std::u32string({0x555}));
  EXPECT_EQ(decodeUtf8("\xE5\x95\x95"), std::u32string({0x5555}));
  EXPECT_EQ(decodeUtf8("\xF1\x95\x95\x95"), std::u32string({0x55555}));
}

TEST(Utf8, EveryBadByteIsReplacedAndNoOther) {
  EXPECT_EQ(withoutBadUtf8(""), "");
  EXPECT_EQ(withoutBadUtf8("a\xC3\xA4\xE5\x95\x95\xF0\x9F\x98\x80z"),
            "a\xC3\xA4\xE5\x95\x95\xF0\x9F\x98\x80z");
  EXPECT_EQ(withoutBadUtf8("caf\xE9 1"), "caf_ 1");
  EXPECT_EQ(withoutBadUtf8("\xFF\xC3\xA4\x80"), "_\xC3\xA4_");
  // A sequence that is cut short, by the next character or by the end.
  EXPECT_EQ(withoutBadUtf8("\xE5\x95x\xF0\x9F"), "__x__");
}

TEST(Utf8, SurrogatesAreNoText) {
  EXPECT_TRUE(decodeUtf8("\xED\x9F\xBF"));
  EXPECT_FALSE(decodeUtf8("\xED\xA0\x80"));
  EXPECT_FALSE(decodeUtf8("\xED\xBF\xBF"));
  EXPECT_TRUE(decodeUtf8("\xEE\x80\x80"));
}

TEST(Utf8, OverlongFormsAreNoText) {
  EXPECT_FALSE(decodeUtf8("\xC0\x80"));
  EXPECT_FALSE(decodeUtf8("\xC1\xBF"));
  EXPECT_FALSE(decodeUtf8("\xE0\x9F\xBF"));
  EXPECT_FALSE(decodeUtf8("\xF0\x8F\xBF\xBF"));
}

TEST(Utf8, ValuesAboveTheLastCodePointAreNoText) {
  EXPECT_FALSE(decodeUtf8("\xF4\x90\x80\x80"));
  EXPECT_FALSE(decodeUtf8("\xF7\xBF\xBF\xBF"));
  EXPECT_FALSE(decodeUtf8("\xF8\x88\x80\x80\x80"));
  EXPECT_FALSE(decodeUtf8("\xFF"));
}

TEST(Utf8, StrayAndMissingContinuationsAreNoText) {
  EXPECT_FALSE(decodeUtf8("\x80"));
  EXPECT_FALSE(decodeUtf8("\xBF"));
  EXPECT_FALSE(decodeUtf8("a\xC3"));
  EXPECT_FALSE(decodeUtf8("\xE2\x82"));
  EXPECT_FALSE(decodeUtf8("\xE2\x82z"));
  EXPECT_FALSE(decodeUtf8("\xE2z\x82"));
  EXPECT_FALSE(decodeUtf8("\xC3\xC3"));
}

TEST(Utf8, CaseOfEveryScriptIsIgnored) {
  EXPECT_TRUE(equalIgnoringCase("MP3", "mp3"));
  EXPECT_TRUE(equalIgnoringCase("\xC3\x84\xC3\x96", "\xC3\xA4\xC3\xB6"));
  EXPECT_TRUE(equalIgnoringCase("\xD0\x96", "\xD0\xB6"));
  EXPECT_TRUE(equalIgnoringCase("", ""));
}

TEST(Utf8, OtherDifferencesCount) {
  EXPECT_FALSE(equalIgnoringCase("mp3", "mp4"));
  EXPECT_FALSE(equalIgnoringCase("mp3", "mp3 "));
  EXPECT_FALSE(equalIgnoringCase("", "a"));
  EXPECT_FALSE(equalIgnoringCase("\xC3\xA4", "a"));
  EXPECT_FALSE(equalIgnoringCase("\xC3\x9F", "SS"));
}

TEST(Utf8, TextsThatAreNotUtf8EqualNothing) {
  EXPECT_FALSE(equalIgnoringCase("\xFF", "\xFF"));
  EXPECT_FALSE(equalIgnoringCase("\xFF", "a"));
  EXPECT_FALSE(equalIgnoringCase("a", "\xFF"));
}

}  // namespace
}  // namespace fillstation::test
