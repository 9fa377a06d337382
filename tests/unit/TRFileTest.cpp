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

TEST(TRFile, FieldsHoldWhatTheyWereGivenByTheirNamesToo) {
  TRFile file;
  const Number size(5);
  const auto files = std::make_shared<TRFileList>();
  file.setUrl(Url::withString("u/"), true);
  EXPECT_FALSE(file.isDir()) << "an address makes no folder";
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
  EXPECT_TRUE(std::get<bool>(file.valueForKey("isDir")));
  EXPECT_EQ(std::get<std::string>(file.valueForKey("name")), "n");
  EXPECT_EQ(std::get<std::string>(file.valueForKey("path")), "p");
  EXPECT_TRUE(std::get<Number>(file.valueForKey("size")).isSame(size));
  EXPECT_EQ(std::get<std::shared_ptr<TRFileList>>(file.valueForKey("files")), files);
  EXPECT_EQ(std::get<Url>(file.valueForKey("url")), Url::withString("u"));
  EXPECT_EQ(std::get<Url>(file.valueForKey("destRelativeUrl")), Url::withString("d"));
}

TEST(TRFile, EqualityAndHashFollowThePathAlone) {
  TRFile one;
  TRFile other;
  one.setPath(std::nullopt);
  EXPECT_FALSE(one.isEqual(one)) << "without a path";
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_FALSE(other.isEqual(one));
  one.setPath("/a");
  other.setPath("/A");
  EXPECT_FALSE(one.isEqual(other));
  EXPECT_NE(one.hash(), other.hash());
  other.setPath("/a");
  other.setName("another");
  EXPECT_TRUE(one.isEqual(other));
  EXPECT_TRUE(one == other);
  EXPECT_EQ(one.hash(), other.hash());
  EXPECT_EQ(std::hash<TRFile>{}(one), one.hash());
}

TEST(TRFile, FolderNodeIsMadeOfItsTwoAddresses) {
  const auto folder =
      TRFile().CreateTRFileAsFolder(Url::fromPath("/a/b c", true), Url::withString("some/where/"));
  EXPECT_TRUE(folder->isDir());
  EXPECT_EQ(folder->name(), "b c");
  EXPECT_EQ(folder->path(), "/a/b c");
  EXPECT_EQ(textOf(folder->size()), "0");
  EXPECT_EQ(folder->files(), nullptr);
  EXPECT_EQ(folder->url(), Url::fromPath("/a/b c", true));
  EXPECT_EQ(folder->destRelativeUrl(), Url::withString("some/where/"));
}

TEST(TRFile, ItsTextIsItsPath) {
  TRFile file;
  file.setPath("/a b");
  EXPECT_EQ(textOf(file), "/a b");
  file.setPath(std::nullopt);
  EXPECT_EQ(textOf(file), "(null)");
}

TEST(TRFile, ValueForKeyOfAnAbsentFieldIsEmpty) {
  TRFile file;
  file.setName(std::nullopt);
  file.setPath(std::nullopt);
  EXPECT_FALSE(std::get<bool>(file.valueForKey("isDir")));
  for (const char* key : {"name", "path", "size", "files", "url", "destRelativeUrl"}) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(file.valueForKey(key))) << key;
  }
  for (const char* key : {"title", "Name"}) {
    EXPECT_THROW(file.valueForKey(key), std::out_of_range) << key;
  }
}

TEST(TotalSize, CountsAbsentSizesAsZeroAndWrapsBeyondItsRange) {
  const auto sized = std::make_shared<TRFile>();
  sized->setSize(Number(5));
  EXPECT_EQ(totalSize({}), 0);
  EXPECT_EQ(totalSize({sized, std::make_shared<TRFile>(), sized}), 10);
  sized->setSize(Number(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(totalSize({sized, sized}), -2);
}

TEST(MatchesFileType, ComparesTheExtensionWithoutRegardToCase) {
  struct Case {
    const char* path;
    std::optional<std::string> type;
    bool matches;
  };
  for (const auto& [path, type, matches] : std::vector<Case>{
           {"/a/song.mp3", "MP3", true},
           {"/a/SONG.Mp3", "MP3", true},
           {"/a/song.\xC3\x84\xC3\x96", "\xC3\xA4\xC3\xB6", true},
           {"/a/song.mp4", "mp3", false},
           {"/a/song.mp3", ".mp3", false},
           {"/a/song..mp3", ".mp3", false},
           {"/a/song.mp3", "mp3,wma", false},
           {"/a/a.b.mp3", "mp3", true},
           {"/a/a.b.mp3", "b.mp3", false},
           {"/a.mp3/README", "", true},
           {"/a.mp3/README", "mp3", false},
           {"/a/song.mp3", "", false},
           {"/a/song.mp3", std::nullopt, true},
           {"/a/README", std::nullopt, true},
           {"/a/x.\xFF", std::nullopt, true},
           {"/a/x.\xFF", "\xFF", false},
           {"/a/\xFF.mp3", "mp3", true},
       }) {
    EXPECT_EQ(matchesFileType(path, type), matches) << path << " " << type.value_or("any");
  }
}

}  // namespace
}  // namespace fillstation::test
