#include "Url.h"

#include <gtest/gtest.h>

namespace fillstation::test {
namespace {

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
  EXPECT_EQ(Url::fromPath("/a/b", true).absoluteString(), "file:///a/b/");
  EXPECT_EQ(Url::fromPath("/a/b//", true).absoluteString(), "file:///a/b/");
  EXPECT_EQ(Url::fromPath("/a/b//", false).absoluteString(), "file:///a/b");
}

TEST(Url, RootFolderIsASingleSlash) {
  EXPECT_EQ(Url::fromPath("/", true).absoluteString(), "file:///");
  EXPECT_EQ(Url::fromPath("//", true).absoluteString(), "file:///");
  EXPECT_EQ(Url::fromPath("/", true).path(), "/");
}

TEST(Url, EveryPathComesBackUnchanged) {
  for (const std::string path :
       {"/a b/c", "/100%", "/%25", "/a#b?c:d", "/a,b{c}d", "/\xC3\xA4\xC3\x9F\xE2\x82\xAC",
        "/\xF0\x9F\x8E\xB5", "/a\nb", "/\xFF\xFE\x80", "/a\"b\\c", "/a//b"}) {
    EXPECT_EQ(Url::fromPath(path, false).path(), path);
    EXPECT_EQ(Url::fromPath(path, true).path(), path);
  }
}

TEST(Url, TextIsKeptExactlyAndIsWhatIsCompared) {
  EXPECT_EQ(Url::withString("a b%zz").absoluteString(), "a b%zz");
  EXPECT_EQ(Url().absoluteString(), "");
  EXPECT_EQ(Url::withString("a"), Url::withString("a"));
  EXPECT_NE(Url::withString("a"), Url::withString("a/"));
  EXPECT_EQ(textOf(Url::withString("file:///a%20b")), "file:///a%20b");
  EXPECT_EQ(textOf(std::optional(Url::withString("x"))), "x");
  EXPECT_EQ(textOf(std::optional<Url>()), "(null)");
}

TEST(Url, PathLeavesOutSchemeHostAndTheSlashAtTheEnd) {
  EXPECT_EQ(Url::withString("file:///media/a%20b/").path(), "/media/a b");
  EXPECT_EQ(Url::withString("file:///media/a//").path(), "/media/a");
  EXPECT_EQ(Url::withString("file://host/x").path(), "/x");
  EXPECT_EQ(Url::withString("file://host").path(), "");
  EXPECT_EQ(Url::withString("file:///").path(), "/");
  EXPECT_EQ(Url::withString("My%20Album/01.mp3").path(), "My Album/01.mp3");
  EXPECT_EQ(Url::withString("/").path(), "/");
  EXPECT_EQ(Url::withString("file:///a%2F").path(), "/a/") << "an escaped slash is the name's";
}

TEST(Url, EscapesAreDecodedOnce) {
  EXPECT_EQ(removePercentEscapes("%2525"), "%25");
  EXPECT_EQ(removePercentEscapes("%41%4a%4A%fF%20"), "AJJ\xFF ");
  EXPECT_EQ(removePercentEscapes("plain"), "plain");
  EXPECT_EQ(removePercentEscapes(""), "");
}

TEST(Url, EscapeThatIsNotCompleteStays) {
  EXPECT_EQ(removePercentEscapes("%"), "%");
  EXPECT_EQ(removePercentEscapes("a%4"), "a%4");
  EXPECT_EQ(removePercentEscapes("%4g%g4%zz%-1%+1% 1"), "%4g%g4%zz%-1%+1% 1");
  EXPECT_EQ(removePercentEscapes("%%41"), "%A");
  // Only what lies in the text counts, not what follows it in memory.
  EXPECT_EQ(removePercentEscapes(std::string_view("%41", 2)), "%4");
  EXPECT_EQ(removePercentEscapes("%1_41"), "%1_41");
}

TEST(Url, LastComponentFollowsTheLastSlash) {
  EXPECT_EQ(lastPathComponent("/a/01.mp3"), "01.mp3");
  EXPECT_EQ(lastPathComponent("/a/b//"), "b");
  EXPECT_EQ(lastPathComponent("name"), "name");
  EXPECT_EQ(lastPathComponent("/"), "/");
  EXPECT_EQ(lastPathComponent("//"), "/");
  EXPECT_EQ(lastPathComponent("a"), "a");
  EXPECT_EQ(lastPathComponent(""), "");
}

TEST(Url, ExtensionFollowsTheLastDotOfTheLastComponent) {
  EXPECT_EQ(pathExtension("/a/b.c.mp3"), "mp3");
  EXPECT_EQ(pathExtension("/a/.mp3"), "mp3");
  EXPECT_EQ(pathExtension("/a.b/README"), "");
  EXPECT_EQ(pathExtension("/a/ends."), "");
  EXPECT_EQ(pathExtension("/a.mp3/"), "mp3");
}

}  // namespace
}  // namespace fillstation::test
