#include "TRFile.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "TestFileManager.h"
#include "TestPlatform.h"

namespace fillstation::test {
namespace {

TEST(TRFile, NewNodeIsEmpty) {
  const TRFile file;
  EXPECT_EQ(file.name(), "Empty");
  EXPECT_EQ(file.path(), "Empty");
  EXPECT_EQ(file.url(), std::nullopt);
  EXPECT_EQ(file.getUrl(), std::nullopt);
  EXPECT_FALSE(file.size());
  EXPECT_FALSE(file.isDir());
  EXPECT_EQ(file.files(), nullptr);
  EXPECT_EQ(file.destRelativeUrl(), std::nullopt);
}

TEST(TRFile, FieldsHoldWhatTheyWereGiven) {
  TRFile file;
  const Number size(5);
  const auto files = std::make_shared<TRFileList>();
  file.setIsDir(true);
  file.setName("n");
  file.setPath("p");
  file.setSize(size);
  file.setFiles(files);
  file.setUrl(Url::withString("u"), false);
  file.setDestRelativeUrl(Url::withString("d"));
  EXPECT_TRUE(file.isDir());
  EXPECT_EQ(file.name(), "n");
  EXPECT_EQ(file.path(), "p");
  EXPECT_TRUE(file.size().isSame(size));
  EXPECT_EQ(file.files(), files);
  EXPECT_EQ(file.url(), Url::withString("u"));
  EXPECT_EQ(file.getUrl(), Url::withString("u"));
  EXPECT_EQ(file.destRelativeUrl(), Url::withString("d"));
}

TEST(TRFile, SettingTheAddressOfAFolderDoesNotMakeItOne) {
  TRFile file;
  file.setUrl(Url::withString("u/"), true);
  EXPECT_FALSE(file.isDir());
}

TEST(TRFile, SamePathMeansEqualAndHashesAlike) {
  TRFile one;
  TRFile other;
  one.setPath("/a");
  other.setPath("/a");
  other.setName("another");
  EXPECT_TRUE(one.isEqual(other));
  EXPECT_TRUE(one == other);
  EXPECT_EQ(one.hash(), other.hash());
  EXPECT_EQ(std::hash<TRFile>{}(one), one.hash());
}

TEST(TRFile, PathsAreComparedByCase) {
  TRFile one;
  TRFile other;
  one.setPath("/a");
  other.setPath("/A");
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_NE(one.hash(), other.hash());
}

TEST(TRFile, WithoutAPathItEqualsNothingNotEvenItself) {
  TRFile one;
  TRFile other;
  one.setPath(std::nullopt);
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_FALSE(other.isEqual(one));
  other.setPath(std::nullopt);
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_FALSE(one.isEqual(one));
}

class Stranger : public Object {};

TEST(TRFile, NeverEqualsAnObjectOfAnotherClass) {
  EXPECT_FALSE(TRFile().isEqual(Stranger()));
  EXPECT_FALSE(Stranger().isEqual(TRFile()));
}

TEST(TRFile, ItsTextIsItsPath) {
  TRFile file;
  file.setPath("/a b");
  EXPECT_EQ(textOf(file), "/a b");
  file.setPath(std::nullopt);
  EXPECT_EQ(textOf(file), "(null)");
}

TEST(TRFile, ValueForKeyGivesEveryField) {
  TRFile file;
  const auto files = std::make_shared<TRFileList>();
  file.setIsDir(true);
  file.setName("n");
  file.setPath("p");
  file.setSize(Number(5));
  file.setFiles(files);
  file.setUrl(Url::withString("u"), false);
  file.setDestRelativeUrl(Url::withString("d"));
  EXPECT_TRUE(std::get<bool>(file.valueForKey("isDir")));
  EXPECT_EQ(std::get<std::string>(file.valueForKey("name")), "n");
  EXPECT_EQ(std::get<std::string>(file.valueForKey("path")), "p");
  EXPECT_TRUE(std::get<Number>(file.valueForKey("size")).isSame(file.size()));
  EXPECT_EQ(std::get<std::shared_ptr<TRFileList>>(file.valueForKey("files")), files);
  EXPECT_EQ(std::get<Url>(file.valueForKey("url")), Url::withString("u"));
  EXPECT_EQ(std::get<Url>(file.valueForKey("destRelativeUrl")), Url::withString("d"));
}

TEST(TRFile, ValueForKeyOfAnAbsentFieldIsEmpty) {
  TRFile file;
  file.setName(std::nullopt);
  file.setPath(std::nullopt);
  EXPECT_FALSE(std::get<bool>(file.valueForKey("isDir")));
  for (const char* key : {"name", "path", "size", "files", "url", "destRelativeUrl"}) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(file.valueForKey(key))) << key;
  }
}

TEST(TRFile, ValueForAnUnknownKeyThrows) {
  EXPECT_THROW(TRFile().valueForKey("title"), std::out_of_range);
  EXPECT_THROW(TRFile().valueForKey("Name"), std::out_of_range);
}

TEST(TotalSize, CountsAbsentSizesAsZero) {
  const auto sized = std::make_shared<TRFile>();
  sized->setSize(Number(5));
  EXPECT_EQ(totalSize({}), 0);
  EXPECT_EQ(totalSize({sized, std::make_shared<TRFile>(), sized}), 10);
}

TEST(TotalSize, WrapsBeyondItsRange) {
  const auto huge = std::make_shared<TRFile>();
  huge->setSize(Number(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(totalSize({huge, huge}), -2);
}

TEST(MatchesFileType, CaseIsIgnored) {
  EXPECT_TRUE(matchesFileType("/a/song.mp3", "MP3"));
  EXPECT_TRUE(matchesFileType("/a/SONG.Mp3", "MP3"));
  EXPECT_TRUE(matchesFileType("/a/song.\xC3\x84\xC3\x96", "\xC3\xA4\xC3\xB6"));
  EXPECT_FALSE(matchesFileType("/a/song.mp4", "mp3"));
}

TEST(MatchesFileType, TypeWithADotAcceptsNothing) {
  EXPECT_FALSE(matchesFileType("/a/song.mp3", ".mp3"));
  EXPECT_FALSE(matchesFileType("/a/song..mp3", ".mp3"));
}

TEST(MatchesFileType, ListOfTypesAcceptsNothing) {
  EXPECT_FALSE(matchesFileType("/a/song.mp3", "mp3,wma"));
}

TEST(MatchesFileType, ExtensionFollowsTheLastDot) {
  EXPECT_TRUE(matchesFileType("/a/a.b.mp3", "mp3"));
  EXPECT_FALSE(matchesFileType("/a/a.b.mp3", "b.mp3"));
}

TEST(MatchesFileType, FileWithoutAnExtensionMatchesOnlyTheEmptyType) {
  EXPECT_TRUE(matchesFileType("/a.mp3/README", ""));
  EXPECT_FALSE(matchesFileType("/a.mp3/README", "mp3"));
  EXPECT_FALSE(matchesFileType("/a/song.mp3", ""));
}

TEST(MatchesFileType, AbsentTypeAcceptsEveryFile) {
  EXPECT_TRUE(matchesFileType("/a/song.mp3", std::nullopt));
  EXPECT_TRUE(matchesFileType("/a/README", std::nullopt));
  EXPECT_TRUE(matchesFileType("/a/x.\xFF", std::nullopt));
}

TEST(MatchesFileType, ExtensionThatIsNotUtf8EqualsNoType) {
  EXPECT_FALSE(matchesFileType("/a/x.\xFF", "\xFF"));
  EXPECT_TRUE(matchesFileType("/a/\xFF.mp3", "mp3"));
}

}  // namespace
}  // namespace fillstation::test
