#include "Utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

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

TEST(Utf8, OnlyWellFormedSequencesAreText) {
  for (const char* text : {"\xED\x9F\xBF", "\xEE\x80\x80"}) {
    EXPECT_TRUE(decodeUtf8(text)) << "beside the surrogates";
  }
  for (const char* text : {"\xED\xA0\x80", "\xED\xBF\xBF",  // surrogates
                           "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",  // overlong
                           "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF", "\xF8\x88\x80\x80\x80",
                           "\xFF",  // above the last code point
                           "\x80", "\xBF", "a\xC3", "\xE2\x82", "\xE2\x82z", "\xE2z\x82",
                           "\xC3\xC3"}) {  // stray and missing continuations
    EXPECT_FALSE(decodeUtf8(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8, CaseOfEveryScriptIsIgnoredAndNothingElse) {
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  for (const auto& [left, right] : Pairs{{"MP3", "mp3"},
                                         {"\xC3\x84\xC3\x96", "\xC3\xA4\xC3\xB6"},
                                         {"\xD0\x96", "\xD0\xB6"},
                                         {"", ""}}) {
    EXPECT_TRUE(equalIgnoringCase(left, right)) << left;
  }
  // What is not UTF-8 equals nothing.
  for (const auto& [left, right] : Pairs{{"mp3", "mp4"},
                                         {"mp3", "mp3 "},
                                         {"", "a"},
                                         {"\xC3\xA4", "a"},
                                         {"\xC3\x9F", "SS"},
                                         {"\xFF", "\xFF"},
                                         {"\xFF", "a"},
                                         {"a", "\xFF"}}) {
    EXPECT_FALSE(equalIgnoringCase(left, right)) << left << " " << right;
  }
}

}  // namespace
}  // namespace fillstation::test
