// The builder of the file set over real folders.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "PosixFileManager.h"
#include "TRFile.h"
#include "TempFolder.h"
#include "TestPlatform.h"
#include "Unprivileged.h"

namespace fillstation::test {
namespace {

using Names = std::vector<std::string>;

class RealTree : public testing::Test, private VolumeOwner {
 protected:
  RealTree() { platform().fileManager = &files_; }

  std::shared_ptr<TRFile> build(const std::string& path,
                                const std::optional<std::string>& fileType = std::nullopt) {
    return TRFile::CreateTRFilesFromURL(Url::fromPath(path, std::filesystem::is_directory(path)),
                                        fileType);
  }
  static Names addresses(const TRFile& root) {
    Names all;
    for (const auto& node : *root.files()) {
      all.push_back(node->destRelativeUrl()->absoluteString());
    }
    return all;
  }

  TestPlatform platform_;
  TempFolder folder_;

 private:
  std::shared_ptr<VolumeMedium> mediumOf(int /*rootDescriptor*/, const std::string& /*mountPath*/,
                                         const DiskIdentity& /*owner*/) override {
    return nullptr;
  }
  std::optional<std::string> remount(const DiskIdentity& /*owner*/,
                                     const std::string& /*mountPath*/) override {
    return std::nullopt;
  }

  StopSource stop_;
  PosixFileManager files_{*this, stop_};
};

TEST_F(RealTree, AnAlbumInPlayOrder) {
  for (const std::string name : {"CD 2/1.mp3", "CD 1/10.mp3", "CD 1/2.mp3", "CD 1/cover.jpg"}) {
    folder_.write(name, "12345");
  }
  folder_.makeFolder("empty");
  const auto root = build(folder_.path(), "mp3");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(addresses(*root), (Names{"CD%201/", "CD%201/2.mp3", "CD%201/10.mp3", "CD%202/",
                                     "CD%202/1.mp3", "empty/"}));
  EXPECT_EQ(root->size().value(), 15);
  EXPECT_EQ(root->path(), folder_.path());
}

TEST_F(RealTree, EveryNameSurvivesInPathAndAddress) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"#hash", "%23hash"},
      {"%41%2525", "%2541%252525"},
      {"a b", "a%20b"},
      {"a,b{}", "a%2Cb%7B%7D"},
      {"a:b", "a%3Ab"},
      {"a?b", "a%3Fb"},
      {"line\nfeed", "line%0Afeed"},
      {"umlaut \xc3\xa4", "umlaut%20%C3%A4"},
      {"\xff\xfe", "%FF%FE"},
      {"\xf0\x9f\x8e\xb5", "%F0%9F%8E%B5"},
  };
  for (const auto& [name, address] : names) {
    folder_.write(name + "/" + name, "x");
  }
  const auto root = build(folder_.path());
  ASSERT_EQ(root->files()->size(), 2 * names.size());
  for (std::size_t index = 0; index < names.size(); ++index) {
    const auto& [name, address] = names[index];
    const auto& folder = root->files()->at(2 * index);
    const auto& file = root->files()->at(2 * index + 1);
    EXPECT_EQ(folder->name(), name);
    EXPECT_EQ(folder->destRelativeUrl()->absoluteString(), address + "/");
    EXPECT_EQ(file->path(), folder_.path(name + "/" + name));
    EXPECT_EQ(file->url()->path(), folder_.path(name + "/" + name));
    EXPECT_EQ(file->destRelativeUrl()->absoluteString(), address + "/" + address);
    EXPECT_EQ(file->size().value(), 1);
  }
}

TEST_F(RealTree, TheFolderMayBeGivenWithASlash) {
  folder_.write("Music/a/1.mp3", "x");
  const auto plain = build(folder_.path("Music"));
  const auto slash = TRFile::CreateTRFilesFromURL(
      Url::withString("file://" + folder_.path("Music") + "/"), std::nullopt);
  const auto without = TRFile::CreateTRFilesFromURL(
      Url::withString("file://" + folder_.path("Music")), std::nullopt);
  for (const auto& root : {plain, slash, without}) {
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->path(), folder_.path("Music"));
    EXPECT_EQ(root->name(), "Music");
    EXPECT_EQ(addresses(*root), (Names{"a/", "a/1.mp3"}));
    EXPECT_TRUE(*root == *plain);
  }
}

TEST_F(RealTree, ALinkToAFileCountsAsTheFileAndOneToAFolderIsLeftOut) {
  const TempFolder elsewhere;
  elsewhere.write("more/song.mp3", "1234567");
  folder_.write("a/1.mp3", "123");
  std::filesystem::create_symlink(elsewhere.path("more"), folder_.path("b"));
  std::filesystem::create_symlink(folder_.path("a/1.mp3"), folder_.path("c.mp3"));
  std::filesystem::create_symlink("none.mp3", folder_.path("d.mp3"));
  std::filesystem::create_symlink("..", folder_.path("a/up"));
  const auto root = build(folder_.path(), "mp3");
  EXPECT_EQ(addresses(*root), (Names{"a/", "a/1.mp3", "c.mp3"}));
  EXPECT_EQ(root->size().value(), 6);
}

TEST_F(RealTree, AChosenLinkIsAChosenFolder) {
  folder_.write("a/1.mp3", "x");
  std::filesystem::create_symlink("a", folder_.path("link"));
  const auto root = build(folder_.path("link"));
  EXPECT_TRUE(root->isDir());
  EXPECT_EQ(root->path(), folder_.path("link"));
  EXPECT_EQ(addresses(*root), Names{"1.mp3"});
}

TEST_F(RealTree, AFileOfTheTypeIsARootAndAMissingOneIsNot) {
  const auto root = build(folder_.write("a b.MP3", "1234"), "mp3");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->size().value(), 4);
  EXPECT_EQ(root->destRelativeUrl()->absoluteString(), "/");
  EXPECT_EQ(build(folder_.path("a b.MP3"), "wav"), nullptr);
  EXPECT_EQ(build(folder_.path("none.mp3"), "mp3"), nullptr);
}

TEST_F(RealTree, AFolderThatIsGoneHoldsNothing) {
  TRFile builder;
  EXPECT_TRUE(builder.AddDir(Url::fromPath(folder_.path("gone"), true), std::nullopt)->empty());
}

TEST_F(RealTree, AFifoIsListedForItsCopyToFail) {
  ASSERT_EQ(::mkfifo(folder_.path("fifo.mp3").c_str(), 0600), 0);
  EXPECT_EQ(addresses(*build(folder_.path(), "mp3")), Names{"fifo.mp3"});
}

TEST_F(RealTree, AnUnreadableFolderIsLoggedAndTheRestKept) {
  folder_.write("a/1.mp3", "x");
  folder_.write("b.mp3", "x");
  ::chmod(folder_.path().c_str(), 0755);
  ::chmod(folder_.path("a").c_str(), 0);
  const Unprivileged unprivileged;
  EXPECT_EQ(addresses(*build(folder_.path(), "mp3")), (Names{"a/", "b.mp3"}));
  const auto texts = platform_.log.texts();
  EXPECT_EQ(std::count(texts.begin(), texts.end(), "error not dir!"), 1);
}

}  // namespace
}  // namespace fillstation::test
