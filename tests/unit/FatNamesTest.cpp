#include "FatNames.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace fillstation {
namespace {

TEST(FatNames, NamesThatCanBeStored) {
  const std::string long255(255, 'a');
  for (const auto& [name, error] : {std::pair<std::string, int>("01 – Überfahrt.mp3", 0),
                                    {"a.", 0},
                                    {".a", 0},
                                    {"..", ENOENT},
                                    {"", ENOENT},
                                    {"a ", EINVAL},
                                    {"a .", EINVAL},
                                    {"\xFF", EINVAL},
                                    {"a\nb", EINVAL},
                                    {std::string("a\0b", 3), EINVAL},
                                    {long255, 0},
                                    {long255 + "a", ENAMETOOLONG},
                                    {long255 + ".", 0},
                                    {long255 + "?", ENAMETOOLONG},
                                    {long255 + " ", ENAMETOOLONG},
                                    {long255 + "\xFF", EINVAL},
                                    // Two units of UTF-16 each.
                                    {long255.substr(1) + "🎵", ENAMETOOLONG},
                                    {long255.substr(2) + "🎵", 0}}) {
    EXPECT_EQ(fatNameError(name), error) << name;
  }
  for (const char sign : std::string(":?*<>|\"\\")) {
    EXPECT_EQ(fatNameError(std::string("a") + sign), EINVAL) << sign;
  }
}

TEST(FatNames, CaseAndDotsAtTheEndDoNotTellNamesApart) {
  EXPECT_EQ(fatFolded("Track Z.MP3..."), "track z.mp3");
  EXPECT_EQ(fatFolded("ÜÉÄÅÇÆÖÑ.MP3"), "üéäåçæöñ.mp3");
  EXPECT_EQ(fatFolded("ΣΦ"), "σφ");
  EXPECT_EQ(fatFolded("Ü\x7F"), "ü\x7F");
  // Not where they need a long name.
  EXPECT_NE(fatFolded("Ärger lang.mp3"), fatFolded("ärger lang.mp3"));
  EXPECT_NE(fatFolded("Ыä"), fatFolded("ЫÄ"));
  EXPECT_NE(fatFolded("Ä.jpeg"), fatFolded("ä.jpeg"));
  EXPECT_NE(fatFolded("a_"), fatFolded("a@"));
}

TEST(FatNames, Slots) {
  for (const auto& [name, slots] : {std::pair<std::string, std::int64_t>("TRACK01.MP3", 1),
                                    {"README", 1},
                                    {"A-1~", 1},
                                    {"track01.mp3", 2},
                                    {"TRACK0001.MP3", 2},
                                    {"TRACK.MPEG", 2},
                                    {".MP3", 2},
                                    {"A.B.C", 2},
                                    {"1234567890123", 2},
                                    {"12345678901234", 3},
                                    {"12345678901234...", 3},
                                    {"123456789012🎵", 3},
                                    {std::string(255, 'a'), 21}}) {
    EXPECT_EQ(fatSlots(name), slots) << name;
  }
}

}  // namespace
}  // namespace fillstation
