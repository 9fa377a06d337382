#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "TRFile.h"
#include "TestFileManager.h"
#include "TestPlatform.h"

namespace fillstation::test {
namespace {

using Texts = std::vector<std::string>;

class TRFileBuilder : public testing::Test {
 protected:
  TRFileBuilder() { platform().fileManager = &files; }

  static std::shared_ptr<TRFile> build(const std::string& path,
                                       const std::optional<std::string>& type) {
    return TRFile::CreateTRFilesFromURL(Url::fromPath(path, false), type);
  }

  // The relative addresses of a folder root's descendants.
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

TEST_F(TRFileBuilder, FolderIsAFolderAndSaysSoInTheLog) {
  files.addFolder("/a");
  files.addFile("/a/f", 1);
  EXPECT_TRUE(TRFile::isDir("/a"));
  EXPECT_EQ(ports.log.texts(), Texts{"Is directory"});
  EXPECT_FALSE(TRFile::isDir("/a/f"));
  EXPECT_FALSE(TRFile::isDir("/nothing"));
  EXPECT_EQ(ports.log.texts(), Texts{"Is directory"});
  EXPECT_EQ(files.calls, (Texts{"exists /a", "exists /a/f", "exists /nothing"}));
}

TEST_F(TRFileBuilder, FolderRootHasItsShape) {
  files.addFolder("/home/My Audio",
                  {folderStep("/home/My Audio/b c"), fileStep("/home/My Audio/b c/01.mp3", 10),
                   fileStep("/home/My Audio/02.mp3", 300)});
  const auto root = build("/home/My Audio", "mp3");
  ASSERT_NE(root, nullptr);
  EXPECT_TRUE(root->isDir());
  EXPECT_EQ(root->name(), "My Audio");
  EXPECT_EQ(root->path(), "/home/My Audio");
  EXPECT_EQ(root->size().value(), 310);
  EXPECT_EQ(root->url()->absoluteString(), "file:///home/My%20Audio/");
  EXPECT_EQ(root->destRelativeUrl()->absoluteString(), "/");
  EXPECT_EQ(relativesOf(*root), (Texts{"b%20c/", "b%20c/01.mp3", "02.mp3"}));
}

TEST_F(TRFileBuilder, DescendantFolderHasItsShape) {
  files.addFolder("/a", {folderStep("/a/b c")});
  const auto folder = build("/a", "mp3")->files()->front();
  EXPECT_TRUE(folder->isDir());
  EXPECT_EQ(folder->name(), "b c");
  EXPECT_EQ(folder->path(), "/a/b c");
  ASSERT_TRUE(folder->size());
  EXPECT_EQ(folder->size().value(), 0);
  EXPECT_EQ(folder->files(), nullptr);
  EXPECT_EQ(folder->url()->absoluteString(), "file:///a/b%20c/");
  EXPECT_EQ(folder->destRelativeUrl()->absoluteString(), "b%20c/");
}

TEST_F(TRFileBuilder, DescendantFileHasItsShapeAndTheSizeThatTheWalkRead) {
  files.addFolder("/a", {fileStep("/a/b/x y.mp3", 12)});
  const auto file = build("/a", "mp3")->files()->front();
  EXPECT_FALSE(file->isDir());
  EXPECT_EQ(file->name(), "x y.mp3");
  EXPECT_EQ(file->path(), "/a/b/x y.mp3");
  EXPECT_EQ(file->size().value(), 12);
  EXPECT_EQ(file->files(), nullptr);
  EXPECT_EQ(file->url()->absoluteString(), "file:///a/b/x%20y.mp3");
  EXPECT_EQ(file->destRelativeUrl()->absoluteString(), "b/x%20y.mp3");
  EXPECT_EQ(files.calls, (Texts{"exists /a", "exists /a", "walk /a"}));
}

TEST_F(TRFileBuilder, ChosenFileOfTheRightTypeIsARootWithTheRelativeAddressSlash) {
  files.addFile("/a/x.mp3", 12);
  const auto root = build("/a/x.mp3", "MP3");
  ASSERT_NE(root, nullptr);
  EXPECT_FALSE(root->isDir());
  EXPECT_EQ(root->name(), "x.mp3");
  EXPECT_EQ(root->path(), "/a/x.mp3");
  EXPECT_EQ(root->size().value(), 12);
  EXPECT_EQ(root->files(), nullptr);
  EXPECT_EQ(root->url()->absoluteString(), "file:///a/x.mp3");
  EXPECT_EQ(root->destRelativeUrl()->absoluteString(), "/");
  EXPECT_TRUE(ports.log.texts().empty());
}

TEST_F(TRFileBuilder, ChosenFileOfAnotherTypeIsNoRootAndIsNotMeasured) {
  files.addFile("/a/x.mp3", 12);
  EXPECT_EQ(build("/a/x.mp3", "wma"), nullptr);
  EXPECT_EQ(files.calls, Texts{"exists /a/x.mp3"});
}

TEST_F(TRFileBuilder, ChosenFileWhoseSizeCannotBeReadIsNoRoot) {
  files.addFile("/a/x.mp3", std::nullopt);
  EXPECT_EQ(build("/a/x.mp3", "mp3"), nullptr);
}

TEST_F(TRFileBuilder, ChosenPathThatDoesNotExistIsNoRoot) {
  EXPECT_EQ(build("/a/x.mp3", "mp3"), nullptr);
  EXPECT_EQ(files.calls, (Texts{"exists /a/x.mp3", "size /a/x.mp3"}));
}

TEST_F(TRFileBuilder, EmptyFileIsKept) {
  files.addFile("/a/x.mp3", 0);
  files.addFolder("/a", {fileStep("/a/x.mp3", 0)});
  EXPECT_NE(build("/a/x.mp3", "mp3"), nullptr);
  EXPECT_EQ(build("/a", "mp3")->files()->size(), 1U);
}

TEST_F(TRFileBuilder, FileNodeTakesItsRelativeAddressAsGiven) {
  files.addFile("/a/x.mp3", 12);
  const auto node = TRFile::CreateTRFile(Url::fromPath("/a/x.mp3", false),
                                         Url::withString("some/where"), std::nullopt);
  EXPECT_EQ(node->destRelativeUrl()->absoluteString(), "some/where");
}

TEST_F(TRFileBuilder, FolderWithoutMatchesKeepsItsSubfoldersAndHasSizeZero) {
  files.addFolder("/a", {folderStep("/a/b"), fileStep("/a/b/x.wma", 12), folderStep("/a/c.mp3")});
  const auto root = build("/a", "mp3");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(relativesOf(*root), (Texts{"b/", "c.mp3/"}));
  ASSERT_TRUE(root->size());
  EXPECT_EQ(root->size().value(), 0);
}

TEST_F(TRFileBuilder, EmptyFolderIsARootWithAnEmptyList) {
  files.addFolder("/a");
  const auto root = build("/a", "mp3");
  ASSERT_NE(root, nullptr);
  ASSERT_NE(root->files(), nullptr);
  EXPECT_TRUE(root->files()->empty());
  EXPECT_EQ(root->size().value(), 0);
}

TEST_F(TRFileBuilder, HiddenFilesAreIncluded) {
  files.addFolder("/a", {fileStep("/a/._01.mp3", 1), fileStep("/a/.mp3", 2)});
  EXPECT_EQ(relativesOf(*build("/a", "mp3")), (Texts{"._01.mp3", ".mp3"}));
}

TEST_F(TRFileBuilder, ListKeepsTheOrderOfTheWalk) {
  files.addFolder("/a", {fileStep("/a/z.mp3", 1), folderStep("/a/b"), fileStep("/a/b/10.mp3", 1),
                         fileStep("/a/b/2.mp3", 1), fileStep("/a/a.mp3", 1)});
  EXPECT_EQ(relativesOf(*build("/a", "mp3")),
            (Texts{"z.mp3", "b/", "b/10.mp3", "b/2.mp3", "a.mp3"}));
}

TEST_F(TRFileBuilder, LogOfAFolderRootSaysTwiceThatItIsOneAndNamesEveryEntry) {
  files.addFolder("/a b", {folderStep("/a b/c"), WalkError{"/a b/c"}, fileStep("/a b/x.mp3", 1),
                           fileStep("/a b/x.wma", 1), WalkEntry{"/a b/unknown", std::nullopt, 1},
                           fileStep("/a b/no size.mp3", std::nullopt)});
  const auto root = build("/a b", "mp3");
  EXPECT_EQ(ports.log.texts(),
            (Texts{"Is directory", "Is directory", "file:///a%20b/c/", "error not dir!",
                   "file:///a%20b/x.mp3", "file:///a%20b/x.wma", "file:///a%20b/no%20size.mp3"}));
  EXPECT_EQ(relativesOf(*root), (Texts{"c/", "x.mp3"}));
  EXPECT_EQ(root->size().value(), 1);
}

TEST_F(TRFileBuilder, WalkGoesOnAfterAnError) {
  files.addFolder("/a", {WalkError{"/a/b"}, WalkError{"/a/c"}, fileStep("/a/x.mp3", 1)});
  EXPECT_EQ(relativesOf(*build("/a", "mp3")), Texts{"x.mp3"});
  EXPECT_EQ(files.errorAnswers, (std::vector<bool>{true, true}));
}

TEST_F(TRFileBuilder, FolderWhoseSizeIsUnknownIsKept) {
  files.addFolder("/a", {WalkEntry{"/a/b", true, std::nullopt}, WalkEntry{"/a/c", true, 4096}});
  const auto root = build("/a", "mp3");
  EXPECT_EQ(relativesOf(*root), (Texts{"b/", "c/"}));
  EXPECT_EQ(root->size().value(), 0);
}

TEST_F(TRFileBuilder, DescendantsOfSomethingElseThanAFolderAreNone) {
  files.addFile("/a/x.mp3", 12);
  TRFile any;
  const auto list = any.AddDir(Url::fromPath("/a/x.mp3", false), "mp3");
  ASSERT_NE(list, nullptr);
  EXPECT_TRUE(list->empty());
  EXPECT_EQ(files.calls, Texts{"exists /a/x.mp3"});
}

TEST_F(TRFileBuilder, DescendantsDoNotDependOnTheNode) {
  files.addFolder("/a", {fileStep("/a/x.mp3", 1)});
  TRFile any;
  any.setPath("/elsewhere");
  EXPECT_EQ(any.AddDir(Url::fromPath("/a", true), "mp3")->size(), 1U);
  EXPECT_EQ(any.path(), "/elsewhere");
}

TEST_F(TRFileBuilder, RelativeAddressIsCutByLengthAlone) {
  files.addFolder("/folder", {fileStep("/elsewhere/x", 1), fileStep("/f", 1),
                              fileStep("/folder", 1), fileStep("/folders", 1)});
  EXPECT_EQ(relativesOf(*build("/folder", std::nullopt)), (Texts{"re/x", "", "", ""}));
}

TEST_F(TRFileBuilder, RootFolderOfTheFileSystemCanBeChosen) {
  files.addFolder("/", {folderStep("/a"), fileStep("/a/x.mp3", 1)});
  const auto root = build("/", "mp3");
  EXPECT_EQ(root->name(), "/");
  EXPECT_EQ(root->url()->absoluteString(), "file:///");
  EXPECT_EQ(relativesOf(*root), (Texts{"a/", "a/x.mp3"}));
}

TEST_F(TRFileBuilder, FolderAddressMayEndInASlashAlready) {
  files.addFolder("/a", {fileStep("/a/x.mp3", 1)});
  const auto root = TRFile::CreateTRFilesFromURL(Url::withString("file:///a/"), "mp3");
  EXPECT_EQ(root->url()->absoluteString(), "file:///a/");
  EXPECT_EQ(root->path(), "/a");
  EXPECT_EQ(relativesOf(*root), Texts{"x.mp3"});
}

// Everything that can be asked of a node, as one text.
std::string textOfAll(const TRFile& node) {
  return formatText("%@ %@ %@ %@ %@ %@ %@", std::string(node.isDir() ? "folder" : "file"),
                    node.name(), node.path(), node.size(), node.url(), node.destRelativeUrl(),
                    std::string(node.files() ? "list" : "no list"));
}

TEST_F(TRFileBuilder, AFieldThatIsSetLeavesTheOthersOfADescendantAsTheyAre) {
  const auto fresh = [this] {
    files.addFolder("/a", {folderStep("/a/b c"), fileStep("/a/b c/1 %.mp3", 10)});
    return build("/a", "mp3")->files();
  };
  EXPECT_EQ(textOfAll(*fresh()->at(0)), "folder b c /a/b c 0 file:///a/b%20c/ b%20c/ no list");
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
    change(*node);
    EXPECT_EQ(textOfAll(*node), expected);
  }
  const auto renamed = fresh()->at(1);
  renamed->setPath("/other");
  EXPECT_EQ(renamed->name(), "1 %.mp3");
  EXPECT_EQ(renamed->path(), "/other");
}

TEST_F(TRFileBuilder, ADescendantTakesLittleMemory) { EXPECT_LE(sizeof(TRFile), 80U); }

TEST_F(TRFileBuilder, RootsOfOnePathAreEqualAndHashAlikeWheneverTheyWereBuilt) {
  files.addFolder("/a");
  const auto first = build("/a", "mp3");
  files.addFolder("/a", {fileStep("/a/x.wma", 1)});
  const auto second = build("/a", "wma");
  EXPECT_TRUE(first->isEqual(*second));
  EXPECT_EQ(first->hash(), second->hash());
}

// A name and what is odd about it.
struct OddName {
  const char* oddity;
  const char* name;
  friend void PrintTo(const OddName& odd, std::ostream* out) { *out << odd.oddity; }
};

// Each name goes through the address and back, as file, as folder and as chosen folder.
class TRFileNames : public TRFileBuilder, public testing::WithParamInterface<OddName> {};

TEST_P(TRFileNames, SurviveTheWayThroughTheAddress) {
  const std::string name = GetParam().name;
  const std::string chosen = "/top/" + name;
  const std::string folderPath = chosen + "/" + name;
  const std::string filePath = folderPath + "/" + name + ".mp3";
  files.addFolder(chosen, {folderStep(folderPath), fileStep(filePath, 1)});
  const auto root = build(chosen, "mp3");
  EXPECT_EQ(root->name(), name);
  EXPECT_EQ(root->path(), chosen);
  EXPECT_EQ(root->url()->path(), chosen);
  ASSERT_EQ(root->files()->size(), 2U);
  const TRFile& folder = *root->files()->at(0);
  EXPECT_EQ(folder.name(), name);
  EXPECT_EQ(folder.path(), folderPath);
  EXPECT_EQ(removePercentEscapes(folder.destRelativeUrl()->absoluteString()), name + "/");
  const TRFile& file = *root->files()->at(1);
  EXPECT_EQ(file.name(), name + ".mp3");
  EXPECT_EQ(file.path(), filePath);
  EXPECT_EQ(file.url()->path(), filePath);
  EXPECT_EQ(removePercentEscapes(file.destRelativeUrl()->absoluteString()),
            name + "/" + name + ".mp3");
}

INSTANTIATE_TEST_SUITE_P(
    , TRFileNames,
    testing::Values(OddName{"Blank", "My Album"}, OddName{"Percent", "100%"},
                    OddName{"LiteralEscape", "%25"}, OddName{"HalfAnEscape", "%2"},
                    OddName{"NumberSign", "a#b"}, OddName{"QuestionMark", "what?"},
                    OddName{"Colon", "12:30"}, OddName{"Comma", "a,b"}, OddName{"Braces", "{a}"},
                    OddName{"Umlauts", "\xC3\x84\xC3\xB6\xC3\x9F"},
                    OddName{"Emoji", "\xF0\x9F\x8E\xB5"}, OddName{"LineFeed", "two\nlines"},
                    OddName{"NotUtf8", "\xFF\xFE\x80"}, OddName{"Quotes", "a\\b\"c"},
                    OddName{"Dots", "..."}, OddName{"Tilde", "~"}),
    [](const auto& odd) { return std::string(odd.param.oddity); });

}  // namespace
}  // namespace fillstation::test
