#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Atomic.h"
#include "Format.h"
#include "Number.h"
#include "Url.h"
#include "Utf8.h"

namespace fillstation::test {
namespace {

// A function's argument and result.
using Cases = std::vector<std::pair<std::string, std::string>>;

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

TEST(Atomic, ReplacedValueIsDestroyedAfterTheLockIsReleased) {
  bool sawNothing = false;
  Atomic<std::shared_ptr<Looker>> property;
  property.set(std::make_shared<Looker>(property, sawNothing));
  property.set(nullptr);
  EXPECT_TRUE(sawNothing);
}

TEST(Format, PlaceholdersAreReplacedInOrderAndEverythingElseStays) {
  const char* nothing = nullptr;
  using Text = std::optional<std::string>;
  for (const auto& [formatted, expected] :
       Cases{{formatText("%s (%@)", "/dev/sdb", std::string("SONGS")), "/dev/sdb (SONGS)"},
             {formatText("%@%@", "a", "b"), "ab"},
             {formatText("%s%@%@", nothing, Text(), Text("x")), "(null)(null)x"},
             {formatText("%@ %@", Number(-12), Url::withString("file:///a%20b")),
              "-12 file:///a%20b"},
             {formatText("%@-%@", "%@", "b"), "%@-b"},
             {formatText("100% %d %% %", "x"), "100% %d %% %"},
             {formatText("%d%s@", "x"), "%dx@"},
             {formatText("@s%", "x"), "@s%"},
             {formatText("%@ and %@", "one"), "one and %@"},
             {formatText("none", "one"), "none"},
             {formatText("%@"), "%@"},
             {formatText("", "one"), ""}}) {
    EXPECT_EQ(formatted, expected);
  }
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

TEST(Url, EveryByteButLettersDigitsAndFiveSignsIsEscaped) {
  const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  constexpr const char* kDigits = "0123456789ABCDEF";
  for (unsigned byte = 1; byte < 256; ++byte) {
    const char character = static_cast<char>(byte);
    const std::string expected = plain.find(character) != std::string::npos
                                     ? std::string(1, character)
                                     : std::string("%") + kDigits[byte / 16] + kDigits[byte % 16];
    EXPECT_EQ(Url::fromPath(std::string("/") + character + "x", false).absoluteString(),
              "file:///" + expected + "x");
  }
}

TEST(Url, FolderEndsInExactlyOneSlash) {
  for (const auto& [path, text] : Cases{{"/a/b", "file:///a/b/"},
                                        {"/a/b//", "file:///a/b/"},
                                        {"/", "file:///"},
                                        {"//", "file:///"}}) {
    EXPECT_EQ(Url::fromPath(path, true).absoluteString(), text);
  }
  EXPECT_EQ(Url::fromPath("/a/b//", false).absoluteString(), "file:///a/b");
}

TEST(Url, EveryPathIsConvertedBackUnchanged) {
  for (const std::string path :
       {"/", "/a b/c", "/100%", "/%25", "/a#b?c:d", "/a,b{c}d", "/\xC3\xA4\xC3\x9F\xE2\x82\xAC",
        "/\xF0\x9F\x8E\xB5", "/a\nb", "/\xFF\xFE\x80", "/a\"b\\c", "/a//b"}) {
    EXPECT_EQ(Url::fromPath(path, false).path(), path);
    EXPECT_EQ(Url::fromPath(path, true).path(), path);
  }
}

TEST(Url, TextIsKeptExactlyAndCompared) {
  EXPECT_EQ(Url::withString("a b%zz").absoluteString(), "a b%zz");
  EXPECT_EQ(Url().absoluteString(), "");
  EXPECT_EQ(Url::withString("a"), Url::withString("a"));
  EXPECT_NE(Url::withString("a"), Url::withString("a/"));
  EXPECT_EQ(textOf(Url::withString("file:///a%20b")), "file:///a%20b");
  EXPECT_EQ(textOf(std::optional(Url::withString("x"))), "x");
  EXPECT_EQ(textOf(std::optional<Url>()), "(null)");
}

TEST(Url, PathLeavesOutSchemeHostAndTheSlashAtTheEnd) {
  for (const auto& [text, path] : Cases{{"file:///media/a%20b/", "/media/a b"},
                                        {"file:///media/a//", "/media/a"},
                                        {"file://host/x", "/x"},
                                        {"file://host", ""},
                                        {"file:///", "/"},
                                        {"My%20Album/01.mp3", "My Album/01.mp3"},
                                        {"/", "/"},
                                        {"file:///a%2F", "/a/"}}) {
    EXPECT_EQ(Url::withString(text).path(), path) << text;
  }
}

TEST(Url, CompleteEscapesAreDecodedOnce) {
  for (const auto& [text, plain] : Cases{{"%2525", "%25"},
                                         {"%41%4a%4A%fF%20", "AJJ\xFF "},
                                         {"plain", "plain"},
                                         {"", ""},
                                         {"%", "%"},
                                         {"a%4", "a%4"},
                                         {"%4g%g4%zz%-1%+1% 1", "%4g%g4%zz%-1%+1% 1"},
                                         {"%%41", "%A"},
                                         {"%1_41", "%1_41"}}) {
    EXPECT_EQ(removePercentEscapes(text), plain);
  }
  // Only the text itself counts, not the memory after it.
  EXPECT_EQ(removePercentEscapes(std::string_view("%41", 2)), "%4");
}

TEST(Url, LastComponentFollowsTheLastSlashAndItsExtensionTheLastDot) {
  for (const auto& [path, name] : Cases{{"/a/01.mp3", "01.mp3"},
                                        {"/a/b//", "b"},
                                        {"name", "name"},
                                        {"/", "/"},
                                        {"//", "/"},
                                        {"a", "a"},
                                        {"", ""}}) {
    EXPECT_EQ(lastPathComponent(path), name) << path;
  }
  for (const auto& [path, extension] : Cases{{"/a/b.c.mp3", "mp3"},
                                             {"/a/.mp3", "mp3"},
                                             {"/a.b/README", ""},
                                             {"/a/ends.", ""},
                                             {"/a.mp3/", "mp3"}}) {
    EXPECT_EQ(pathExtension(path), extension) << path;
  }
}

TEST(Utf8, EverySequenceIsDecoded) {
  using Points = std::u32string;
  for (const auto& [text, points] : std::vector<std::pair<std::string, Points>>{
           {std::string("\0\x7F", 2), {U'\0', U'\x7F'}},
           {"\xC2\x80\xDF\xBF", {0x80, 0x7FF}},
           {"\xE0\xA0\x80\xEF\xBF\xBF", {0x800, 0xFFFF}},
           {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", {0x10000, 0x10FFFF}},
           {"\xD5\x95\xE5\x95\x95\xF1\x95\x95\x95", {0x555, 0x5555, 0x55555}},
           {"\xED\x9F\xBF\xEE\x80\x80", {0xD7FF, 0xE000}},
           {"", {}}}) {
    EXPECT_EQ(decodeUtf8(text), points);
  }
}

TEST(Utf8, OnlyWellFormedSequencesAreText) {
  for (const char* text : {"\xED\xA0\x80", "\xED\xBF\xBF",  // surrogates
                           "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",  // overlong
                           "\xF4\x90\x80\x80", "\xF7\xBF\xBF\xBF", "\xF8\x88\x80\x80\x80",
                           "\xFF",  // above the last code point
                           "\x80", "\xBF", "a\xC3", "\xE2\x82", "\xE2\x82z", "\xE2z\x82",
                           "\xC3\xC3"}) {  // stray and missing continuations
    EXPECT_FALSE(decodeUtf8(text)) << testing::PrintToString(text);
  }
}

TEST(Utf8, EveryBadByteIsReplacedAndNoOther) {
  const std::string good = "a\xC3\xA4\xE5\x95\x95\xF0\x9F\x98\x80z";
  for (const auto& [text, plain] : Cases{{"", ""},
                                         {good, good},
                                         {"caf\xE9 1", "caf_ 1"},
                                         {"\xFF\xC3\xA4\x80", "_\xC3\xA4_"},
                                         {"\xE5\x95x\xF0\x9F", "__x__"}}) {
    EXPECT_EQ(withoutBadUtf8(text), plain);
  }
}

}  // namespace
}  // namespace fillstation::test
