#include "TRFile.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <stdexcept>
#include <utility>

#include "TestFileManager.h"
#include "TestPlatform.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

// All facts about a node, as one text.
std::string textOfAll(const TRFile& node) {
  return formatText("%@ %@ %@ %@ %@ %@ %@", node.isDir() ? "folder" : "file", node.name(),
                    node.path(), node.size(), node.url(), node.destRelativeUrl(),
                    node.files() ? "list" : "no list");
}

TEST(TRFile, NewNodeIsEmpty) {
  EXPECT_EQ(textOfAll(TRFile()), "file Empty Empty (null) (null) (null) no list");
  EXPECT_EQ(TRFile().getUrl(), std::nullopt);
}

TEST(TRFile, FieldsKeepTheirValuesByNameToo) {
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
  EXPECT_EQ(textOfAll(file), "folder n p 5 u d list");
  EXPECT_EQ(file.getUrl(), Url::withString("u"));
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
  EXPECT_EQ(textOfAll(*folder), "folder b c /a/b c 0 file:///a/b%20c/ some/where/ no list");
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
           {"/a/song.\xD0\x96", "\xD0\xB6", true},
           {"/a/song.\xC3\x9F", "SS", false},
           {"/a/song.\xC3\xA4", "a", false},
           {"/a/song.a", "\xFF", false},
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

class TRFileBuilder : public testing::Test {
 protected:
  TRFileBuilder() { platform().fileManager = &files; }

  static std::shared_ptr<TRFile> build(const std::string& path,
                                       const std::optional<std::string>& type) {
    return TRFile::CreateTRFilesFromURL(Url::fromPath(path, false), type);
  }
  // A folder root of these descendants, and their relative addresses.
  std::shared_ptr<TRFile> buildOf(const std::string& path, std::vector<WalkStep> steps) {
    files.addFolder(path, std::move(steps));
    return build(path, "mp3");
  }
  static Texts relativesOf(const TRFile& root) {
    Texts all;
    for (const auto& file : *root.files()) {
      all.push_back(file->destRelativeUrl()->absoluteString());
    }
    return all;
  }

  TestPlatform ports;
  TestFileManager files;
};

TEST_F(TRFileBuilder, FolderIsAFolderAndIsLogged) {
  files.addFolder("/a");
  files.addFile("/a/f", 1);
  EXPECT_TRUE(TRFile::isDir("/a"));
  EXPECT_EQ(ports.log.texts(), Texts{"Is directory"});
  EXPECT_FALSE(TRFile::isDir("/a/f"));
  EXPECT_FALSE(TRFile::isDir("/nothing"));
  EXPECT_EQ(ports.log.texts(), Texts{"Is directory"});
  EXPECT_EQ(files.calls, (Texts{"exists /a", "exists /a/f", "exists /nothing"}));
}

TEST_F(TRFileBuilder, FolderRootAndItsDescendantsHaveTheirShapes) {
  const auto root = buildOf("/home/My Audio", {folderStep("/home/My Audio/b c"),
                                               fileStep("/home/My Audio/b c/0 1.mp3", 10),
                                               fileStep("/home/My Audio/02.mp3", 300)});
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(textOfAll(*root), "folder My Audio /home/My Audio 310 file:///home/My%20Audio/ / list");
  ASSERT_EQ(root->files()->size(), 3U);
  EXPECT_EQ(textOfAll(*root->files()->at(0)),
            "folder b c /home/My Audio/b c 0 file:///home/My%20Audio/b%20c/ b%20c/ no list");
  EXPECT_EQ(textOfAll(*root->files()->at(1)),
            "file 0 1.mp3 /home/My Audio/b c/0 1.mp3 10 "
            "file:///home/My%20Audio/b%20c/0%201.mp3 b%20c/0%201.mp3 no list");
  EXPECT_EQ(files.calls,
            (Texts{"exists /home/My Audio", "exists /home/My Audio", "walk /home/My Audio"}));
}

TEST_F(TRFileBuilder, ChosenFileOfTheRightTypeIsARootWithTheRelativeAddressSlash) {
  for (const std::int64_t size : {12, 0}) {
    files.addFile("/a/x.mp3", size);
    const auto root = build("/a/x.mp3", "MP3");
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(textOfAll(*root),
              "file x.mp3 /a/x.mp3 " + std::to_string(size) + " file:///a/x.mp3 / no list");
  }
  EXPECT_TRUE(ports.log.texts().empty());
}

TEST_F(TRFileBuilder, OtherFilesAreNoRoots) {
  files.addFile("/a/x.mp3", std::nullopt);
  EXPECT_EQ(build("/a/x.mp3", "wma"), nullptr) << "another type isn't measured";
  EXPECT_EQ(build("/a/x.mp3", "mp3"), nullptr) << "its size can't be read";
  EXPECT_EQ(build("/a/y.mp3", "mp3"), nullptr) << "it doesn't exist";
  EXPECT_EQ(files.calls, (Texts{"exists /a/x.mp3", "exists /a/x.mp3", "size /a/x.mp3",
                                "exists /a/y.mp3", "size /a/y.mp3"}));
}

TEST_F(TRFileBuilder, FolderWithoutMatchesKeepsItsSubfoldersAndHasSizeZero) {
  const auto root = buildOf("/a", {folderStep("/a/b"), fileStep("/a/b/x.wma", 12),
                                   folderStep("/a/c.mp3"), WalkEntry{"/a/d", true, 4096}});
  EXPECT_EQ(relativesOf(*root), (Texts{"b/", "c.mp3/", "d/"}));
  EXPECT_EQ(textOf(root->size()), "0");
  const auto empty = buildOf("/e", {});
  ASSERT_NE(empty->files(), nullptr);
  EXPECT_TRUE(empty->files()->empty());
  EXPECT_EQ(textOf(empty->size()), "0");
}

TEST_F(TRFileBuilder, ListKeepsTheOrderOfTheWalkHiddenAndEmptyFilesIncluded) {
  const auto root =
      buildOf("/a", {fileStep("/a/z.mp3", 0), folderStep("/a/b"), fileStep("/a/b/10.mp3", 1),
                     fileStep("/a/b/2.mp3", 1), fileStep("/a/._01.mp3", 1), fileStep("/a/.mp3", 2),
                     fileStep("/a/a.mp3", 1)});
  EXPECT_EQ(relativesOf(*root),
            (Texts{"z.mp3", "b/", "b/10.mp3", "b/2.mp3", "._01.mp3", ".mp3", "a.mp3"}));
}

TEST_F(TRFileBuilder, LogOfAFolderRootSaysTwiceThatItIsOneAndNamesEveryEntry) {
  const auto root = buildOf("/a b", {folderStep("/a b/c"), WalkError{"/a b/c"}, WalkError{"/a b/d"},
                                     fileStep("/a b/x.mp3", 1), fileStep("/a b/x.wma", 1),
                                     WalkEntry{"/a b/unknown", std::nullopt, 1},
                                     fileStep("/a b/no size.mp3", std::nullopt)});
  EXPECT_EQ(ports.log.texts(), (Texts{"Is directory", "Is directory", "file:///a%20b/c/",
                                      "error not dir!", "error not dir!", "file:///a%20b/x.mp3",
                                      "file:///a%20b/x.wma", "file:///a%20b/no%20size.mp3"}));
  EXPECT_EQ(relativesOf(*root), (Texts{"c/", "x.mp3"}));
  EXPECT_EQ(root->size().value(), 1);
  EXPECT_EQ(files.errorAnswers, (std::vector<bool>{true, true})) << "the walk goes on";
}

TEST_F(TRFileBuilder, DescendantsDoNotDependOnTheNodeAndOnlyAFolderHasSome) {
  files.addFile("/a/x.mp3", 12);
  TRFile any;
  const auto none = any.AddDir(Url::fromPath("/a/x.mp3", false), "mp3");
  ASSERT_NE(none, nullptr);
  EXPECT_TRUE(none->empty());
  EXPECT_EQ(files.calls, Texts{"exists /a/x.mp3"});
  files.addFolder("/a", {fileStep("/a/x.mp3", 1)});
  any.setPath("/elsewhere");
  EXPECT_EQ(any.AddDir(Url::fromPath("/a", true), "mp3")->size(), 1U);
  EXPECT_EQ(any.path(), "/elsewhere");
}

TEST_F(TRFileBuilder, RelativeAddressIsCutByLengthAlone) {
  const auto root = buildOf("/folder", {fileStep("/elsewhere/x.mp3", 1), fileStep("/.mp3", 1),
                                        folderStep("/folder"), fileStep("/f.mp3", 1)});
  EXPECT_EQ(relativesOf(*root), (Texts{"re/x.mp3", "", "", ""}));
}

TEST_F(TRFileBuilder, RootFolderOfTheFileSystemCanBeChosen) {
  const auto root = buildOf("/", {folderStep("/a"), fileStep("/a/x.mp3", 1)});
  EXPECT_EQ(textOfAll(*root), "folder / / 1 file:/// / list");
  EXPECT_EQ(relativesOf(*root), (Texts{"a/", "a/x.mp3"}));
}

TEST_F(TRFileBuilder, AFieldThatIsSetLeavesTheOthersOfADescendantAsTheyAre) {
  const auto fresh = [this] {
    files.addFolder("/a", {folderStep("/a/b c"), fileStep("/a/b c/1 %.mp3", 10)});
    return build("/a", "mp3")->files();
  };
  const std::string file =
      "file 1 %.mp3 /a/b c/1 %.mp3 10 file:///a/b%20c/1%20%25.mp3 "
      "b%20c/1%20%25.mp3 no list";
  EXPECT_EQ(textOfAll(*fresh()->at(1)), file);
  const std::vector<std::pair<std::function<void(TRFile&)>, std::string>> changes{
      {[](TRFile& node) { node.setIsDir(true); }, "folder" + file.substr(4)},
      {[](TRFile& node) { node.setName("1 %.mp3"); }, file},
      {[](TRFile& node) { node.setPath("/a/b c/1 %.mp3"); }, file},
      {[](TRFile& node) { node.setUrl(Url::withString("x"), false); },
       "file 1 %.mp3 /a/b c/1 %.mp3 10 x b%20c/1%20%25.mp3 no list"},
      {[](TRFile& node) { node.setDestRelativeUrl(Url::withString("x")); },
       "file 1 %.mp3 /a/b c/1 %.mp3 10 file:///a/b%20c/1%20%25.mp3 x no list"},
      {[](TRFile& node) { node.setFiles(std::make_shared<TRFileList>()); },
       file.substr(0, file.size() - 7) + "list"}};
  for (const auto& [change, expected] : changes) {
    const auto node = fresh()->at(1);
    change(*node);
    EXPECT_EQ(textOfAll(*node), expected);
  }
  const auto renamed = fresh()->at(1);
  renamed->setPath("/other");
  EXPECT_EQ(renamed->name(), "1 %.mp3");
  EXPECT_EQ(renamed->path(), "/other");
}

TEST_F(TRFileBuilder, ADescendantTakesLittleMemory) { EXPECT_LE(sizeof(TRFile), 80U); }

}  // namespace
}  // namespace fillstation::test
