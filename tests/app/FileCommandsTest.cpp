#include "TempFolder.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class FileCommandsTest : public WindowTest {
 protected:
  FileCommandsTest() {
    launch();
    ports.log.clear();
    controller().setOpenPanel([this](const std::string& fileType) {
      asked.push_back(fileType);
      return choice;
    });
  }

  void choose(const std::string& path, bool isDirectory = true) {
    choice = std::vector{Url::fromPath(path, isDirectory)};
    click(ui().btnBrowse);
  }
  Texts listed() const {
    Texts paths;
    for (const auto& root : *windows->songs()->list()) {
      paths.push_back(root->path().value_or("(none)"));
    }
    return paths;
  }
  std::string lastLog() const { return logTexts().empty() ? "" : logTexts().back(); }

  TempFolder temp;
  std::optional<std::vector<Url>> choice;
  Texts asked;
};

TEST_F(FileCommandsTest, ThePanelIsRestrictedToTheTypeOfTheBox) {
  ui().cmbFileType->setCurrentText(QStringLiteral("Flac"));
  click(ui().btnBrowse);
  EXPECT_EQ(asked, Texts{"Flac"});
}

TEST_F(FileCommandsTest, ACancelledPanelOnlyUpdatesTheSizes) {
  click(ui().btnBrowse);
  EXPECT_EQ(asked.size(), 1U);
  EXPECT_TRUE(listed().empty());
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(FileCommandsTest, AFolderBecomesARootOfItsSubfoldersAndMatchingFilesWhateverTheirCase) {
  temp.write("album/01.mp3", "12345");
  temp.write("album/sub/02.MP3", "1");
  temp.write("album/cover.jpg", "123");
  choose(temp.path("album"));
  ASSERT_EQ(listed(), Texts{temp.path("album")});
  Texts names;
  for (const auto& node : *windows->songs()->list()->at(0)->files()) {
    names.push_back(node->name().value_or(""));
  }
  EXPECT_EQ(names, (Texts{"01.mp3", "sub", "02.MP3"}));
  EXPECT_EQ(windows->songs()->totalFileSize().value(), 6);
  EXPECT_EQ(lastLog(), "\nLog xxxP Size 0\n");
  EXPECT_EQ(windows->roots()->listed().size(), 1U);
}

TEST_F(FileCommandsTest, TheTypeIsReadAgainForTheChosenItem) {
  temp.write("album/01.ogg", "12345");
  controller().setOpenPanel([&](const std::string&) {
    ui().cmbFileType->setCurrentText(QStringLiteral("ogg"));
    return std::optional(std::vector{Url::fromPath(temp.path("album"), true)});
  });
  click(ui().btnBrowse);
  EXPECT_EQ(windows->songs()->totalFileSize().value(), 5);
}

TEST_F(FileCommandsTest, ChoosingTheSameFolderTwiceAddsItOnce) {
  temp.makeFolder("album");
  choose(temp.path("album"));
  choose(temp.path("album"));
  EXPECT_EQ(listed(), Texts{temp.path("album")});
  EXPECT_EQ(windows->roots()->listed().size(), 1U);
}

TEST_F(FileCommandsTest, AFolderWithoutAMatchingFileIsAddedWithSizeZero) {
  temp.write("album/a.txt", "123");
  choose(temp.path("album"));
  ASSERT_EQ(listed().size(), 1U);
  EXPECT_EQ(windows->songs()->list()->at(0)->size().value(), 0);
}

TEST_F(FileCommandsTest, AFileOfAnotherTypeIsSkippedSilently) {
  choose(temp.write("a.txt", "123"), false);
  EXPECT_TRUE(listed().empty());
  EXPECT_TRUE(windows->roots()->listed().empty());
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(FileCommandsTest, AFileOfTheTypeIsAdded) {
  choose(temp.write("a.mp3", "123"), false);
  EXPECT_EQ(listed(), Texts{temp.path("a.mp3")});
}

TEST_F(FileCommandsTest, EveryAddressThatThePanelReturnsIsTaken) {
  choice = std::vector{Url::fromPath(temp.makeFolder("a"), true),
                       Url::fromPath(temp.path("missing.mp3"), false),
                       Url::fromPath(temp.makeFolder("b"), true)};
  click(ui().btnBrowse);
  EXPECT_EQ(listed(), (Texts{temp.path("a"), temp.path("b")}));
}

TEST_F(FileCommandsTest, ADeletedFolderIsRefusedUntilTheNextLaunch) {
  choose(temp.makeFolder("album"));
  controller().menuFileDeleteAll(nullptr);
  choose(temp.path("album"));
  EXPECT_TRUE(listed().empty());
}

TEST_F(FileCommandsTest, DeleteRemovesTheClickedRowAlone) {
  for (const char* path : {"/a", "/b", "/c"}) {
    addRoot(path, 1024);
  }
  ui().lstFiles->selectRow(0);
  rightClickRow(1);
  ports.log.clear();
  controller().fileMenuDelete()->trigger();
  EXPECT_EQ(listed(), (Texts{"/a", "/c"}));
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(FileCommandsTest, DeleteOfARowOutsideAMultipleSelectionLeavesTheSelectedOnes) {
  for (const char* path : {"/a", "/b", "/c"}) {
    addRoot(path, 1024);
  }
  ui().lstFiles->setSelectionMode(QAbstractItemView::MultiSelection);
  ui().lstFiles->selectRow(0);
  ui().lstFiles->selectRow(1);
  rightClickRow(2);
  EXPECT_EQ(menuTexts(), (Texts{"Remove from List", "Remove All"}));
  controller().fileMenuDelete()->trigger();
  EXPECT_EQ(listed(), (Texts{"/a", "/b"}));
}

TEST_F(FileCommandsTest, DeleteSelectedRemovesAllThreeSelectedRows) {
  for (const char* path : {"/a", "/b", "/c", "/d"}) {
    addRoot(path, 1024);
  }
  ui().lstFiles->setSelectionMode(QAbstractItemView::MultiSelection);
  for (const int row : {0, 1, 3}) {
    ui().lstFiles->selectRow(row);
  }
  rightClickRow(1);
  EXPECT_EQ(menuTexts(), (Texts{"Remove from List", "Remove Selected", "Remove All"}));
  ports.log.clear();
  controller().fileMenuDeleteSelected()->trigger();
  EXPECT_EQ(listed(), Texts{"/c"});
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(FileCommandsTest, DeleteAllEmptiesTheList) {
  addRoot("/a", 1024);
  addRoot("/b", 1024);
  rightClickRow(0);
  ports.log.clear();
  controller().fileMenuDeleteAll()->trigger();
  EXPECT_TRUE(listed().empty());
  EXPECT_EQ(windows->songs()->totalFileSize().value(), 0);
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
  EXPECT_EQ(ui().lstFiles->model()->rowCount(), 0);
}

TEST_F(FileCommandsTest, DeletingLeavesTheRememberedRootsAsTheyAre) {
  choose(temp.makeFolder("a"));
  choose(temp.makeFolder("b"));
  rightClickRow(0);
  controller().fileMenuDelete()->trigger();
  EXPECT_EQ(windows->roots()->listed().size(), 2U);
}

}  // namespace
}  // namespace fillstation::test
