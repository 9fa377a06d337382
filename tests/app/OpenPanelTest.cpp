#include "OpenPanel.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <filesystem>
#include <fstream>

#include "TempFolder.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

class OpenPanelTest : public WindowTest {
 protected:
  OpenPanelTest() {
    launch();
    temp.write("music/album/01.mp3", "1");
    temp.write("music/One.MP3", "1");
    temp.write("music/two.mp3", "1");
    temp.write("music/cover.jpg", "1");
    temp.makeFolder("music/empty.jpg");
  }

  // The dialog over the music folder, shown, with its content read.
  OpenPanel& open(const std::string& fileType = "mp3") {
    panel = std::make_unique<OpenPanel>(&windows->window(), fileType, folder());
    panel->show();
    waitForActive(*panel);
    runUntil([this] { return shown().contains(QStringLiteral("album")); });
    settle();
    return *panel;
  }
  QString folder() const { return QString::fromStdString(temp.path("music")); }
  QTreeView* list() const { return panel->findChild<QTreeView*>(QStringLiteral("treeView")); }
  QLineEdit* edit() const { return panel->findChild<QLineEdit*>(QStringLiteral("fileNameEdit")); }
  QPushButton* openButton() const {
    return panel->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open);
  }
  QString shown() const {
    QStringList names;
    for (QModelIndex at = firstRow(); at.isValid(); at = at.siblingAtRow(at.row() + 1)) {
      names.append(at.data().toString());
    }
    return names.join(QLatin1Char(' '));
  }
  QModelIndex firstRow() const { return list()->model()->index(0, 0, list()->rootIndex()); }
  QModelIndex row(const QString& name) const {
    return list()->model()->match(firstRow(), Qt::DisplayRole, name, 1, Qt::MatchExactly).value(0);
  }
  void select(const QString& name) {
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                      list()->visualRect(row(name)).center());
  }
  void doubleClick(const QString& name) {
    select(name);
    QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {},
                       list()->visualRect(row(name)).center());
  }
  // Replaces the name, then Return.
  static void type(QWidget& dialog, const std::string& text) {
    auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    name->setFocus();
    name->setText(QString::fromStdString(text));
    QTest::keyClick(name, Qt::Key_Return);
  }
  std::string chosen() const { return panel->chosenPath().toStdString(); }

  TempFolder temp;
  std::unique_ptr<OpenPanel> panel;
};

TEST_F(OpenPanelTest, ShowsFoldersFirstAndTheFilesOfTheTypeIgnoringCaseWithoutWildcards) {
  for (const char* type : {"*", "mp?"}) {
    open(type);
    EXPECT_EQ(shown(), QStringLiteral("album empty.jpg"));
  }
  open();
  EXPECT_EQ(shown(), QStringLiteral("album empty.jpg One.MP3 two.mp3"));
  list()->sortByColumn(0, Qt::DescendingOrder);
  settle();
  EXPECT_EQ(shown(), QStringLiteral("two.mp3 One.MP3 empty.jpg album"));
}

// The system reports the names of a folder in an order of its own.
TEST_F(OpenPanelTest, NamesThatAreNotUtf8HideNoOthers) {
  for (const char* name : {"\xFF", "x\xE9", "\xC3"}) {
    temp.write(std::string("music/") + name + ".mp3", "1");
  }
  for (char letter = 'b'; letter < 'k'; ++letter) {
    temp.makeFolder(std::string("music/") + letter);
  }
  open();
  runUntil([this] {
    return shown() == QStringLiteral("album b c d e empty.jpg f g h i j One.MP3 two.mp3");
  });
}

TEST_F(OpenPanelTest, TheLastSelectionIsChosenAndAFolderIsNotEntered) {
  open();
  EXPECT_EQ(chosen(), "");
  EXPECT_FALSE(openButton()->isEnabled());
  for (const char* name : {"album", "two.mp3", "album"}) {
    panel->show();
    waitForActive(*panel);
    select(QStringLiteral("One.MP3"));
    select(QString::fromLatin1(name));
    EXPECT_EQ(edit()->text(), QString::fromLatin1(name));
    click(openButton());
    EXPECT_EQ(chosen(), temp.path("music/" + std::string(name)));
    EXPECT_FALSE(panel->isVisible());
    EXPECT_EQ(panel->result(), QDialog::Accepted);
  }
}

TEST_F(OpenPanelTest, ADoubleClickEntersAFolderAndChoosesAFile) {
  open();
  doubleClick(QStringLiteral("album"));
  runUntil([this] { return shown() == QStringLiteral("01.mp3"); });
  EXPECT_TRUE(panel->isVisible());
  EXPECT_EQ(panel->directory().path(), folder() + QStringLiteral("/album"));
  EXPECT_EQ(edit()->text(), folder() + QStringLiteral("/album"));
  ASSERT_TRUE(openButton()->isEnabled());
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/album"));
  open();
  doubleClick(QStringLiteral("two.mp3"));
  EXPECT_EQ(chosen(), temp.path("music/two.mp3"));
}

TEST_F(OpenPanelTest, ATypedPathIsChosen) {
  open();
  for (const auto& [typed, path] : {std::pair(std::string("album"), "music/album"),
                                    {"album/../album/", "music/album"},
                                    {"two.mp3", "music/two.mp3"},
                                    {temp.path("music/album/"), "music/album"}}) {
    panel->show();
    waitForActive(*panel);
    type(*panel, typed);
    EXPECT_FALSE(panel->isVisible()) << typed;
    EXPECT_EQ(chosen(), temp.path(path));
  }
}

TEST_F(OpenPanelTest, AMissingPathAnotherTypeOrNoPathIsNotChosen) {
  open();
  for (const char* typed : {"missing.mp3", "cover.jpg", ""}) {
    type(*panel, typed);
    EXPECT_TRUE(panel->isVisible()) << typed;
    EXPECT_EQ(chosen(), "") << typed;
    EXPECT_EQ(edit()->selectedText(), QString::fromLatin1(typed));
  }
}

TEST_F(OpenPanelTest, HasATitleShowsNamesFirstAndChangesNothingOnTheDisk) {
  EXPECT_EQ(open("a\nb").windowTitle(), QString::fromUtf8("Add a folder or a file (a\uFFFDb)"));
  open();
  EXPECT_TRUE(panel->testOption(QFileDialog::ReadOnly));
  EXPECT_TRUE(panel->testOption(QFileDialog::DontUseNativeDialog));
  EXPECT_EQ(panel->labelText(QFileDialog::FileName), QStringLiteral("Folder or file:"));
  const auto* parents = panel->findChild<QComboBox*>(QStringLiteral("lookInCombo"));
  EXPECT_EQ(parents->view()->accessibleName(), QStringLiteral("Parent folders"));
  for (const char* name : {"fileTypeLabel", "fileTypeCombo"}) {
    EXPECT_FALSE(panel->findChild<QWidget*>(QLatin1String(name))->isVisible()) << name;
  }
  const auto* header = list()->header();
  EXPECT_EQ(header->length(), list()->viewport()->width());
  EXPECT_GT(2 * header->sectionSize(0), header->length());
  // Of a name, its text alone is made harmless.
  const QModelIndex two = row(QStringLiteral("two.mp3"));
  EXPECT_EQ(two.data(QFileSystemModel::FileNameRole), QStringLiteral("two.mp3"));
  EXPECT_FALSE(two.data(Qt::DecorationRole).value<QIcon>().isNull());
}

TEST_F(OpenPanelTest, OffersTheFoldersAtHomeThatExistEachOnce) {
  const QDir home = QDir::home();
  const auto offered = [this, &home] {
    const OpenPanel dialog(&windows->window(), "mp3", folder());
    Texts names;
    for (const QUrl& place : dialog.sidebarUrls()) {
      names.push_back(home.relativeFilePath(place.toLocalFile()).toStdString());
    }
    return names;
  };
  EXPECT_EQ(offered(), Texts{"."});
  for (const char* name : {"Music", "Desktop", ".config"}) {
    home.mkdir(QLatin1String(name));
  }
  EXPECT_EQ(offered(), (Texts{".", "Music", "Desktop"}));
  const std::string config = home.filePath(QStringLiteral(".config")).toStdString();
  std::ofstream(config + "/user-dirs.dirs") << "XDG_MUSIC_DIR=\"$HOME/Desktop\"\n";
  EXPECT_EQ(offered(), (Texts{".", "Desktop"}));
  for (const char* name : {"Music", "Desktop", ".config"}) {
    QDir(home.filePath(QLatin1String(name))).removeRecursively();
  }
}

// The function that the window uses.
class OpenPanelRunnerTest : public OpenPanelTest {
 protected:
  // Acts at the next dialog, once it has the keyboard.
  void atDialog(const std::function<void(OpenPanel&)>& act) {
    whenever([this, act] {
      auto* dialog = windows->window().findChild<OpenPanel*>();
      if (dialog == nullptr || QApplication::activeWindow() != dialog) {
        return false;
      }
      shownFolder = dialog->directory().path().toStdString();
      act(*dialog);
      return true;
    });
  }
  // Answers the dialog with a typed text, or cancels it; keeps the folder that it showed.
  std::optional<std::vector<Url>> answer(const OpenPanelFunction& run, const std::string& typed) {
    atDialog([typed](OpenPanel& dialog) {
      if (typed.empty()) {
        QTest::keyClick(&dialog, Qt::Key_Escape);
      } else {
        type(dialog, typed);
      }
    });
    return run("mp3");
  }

  std::string shownFolder;
};

TEST_F(OpenPanelRunnerTest, ReturnsTheAddressOfAFolderOrAFileOrNothing) {
  const auto run = OpenPanel::runner(&windows->window());
  const std::string file = temp.write("music/M\xC3\xA4r #1.mp3", "1");
  for (const auto& [path, isFolder] : {std::pair(temp.path("music/album"), true), {file, false}}) {
    EXPECT_EQ(answer(run, path), std::vector{Url::fromPath(path, isFolder)});
  }
  EXPECT_FALSE(answer(run, ""));
  EXPECT_TRUE(std::filesystem::is_empty(QDir::homePath().toStdString()));
}

TEST_F(OpenPanelRunnerTest, BeginsAtHomeAndLaterAtTheLastChoice) {
  const auto run = OpenPanel::runner(&windows->window());
  answer(run, "");
  EXPECT_EQ(shownFolder, QDir::homePath().toStdString());
  answer(run, temp.path("music/album"));
  EXPECT_EQ(shownFolder, QDir::homePath().toStdString());
  for (int time = 0; time < 2; ++time) {
    answer(run, "");
    EXPECT_EQ(shownFolder, temp.path("music"));
  }
}

TEST_F(OpenPanelRunnerTest, BeginsInTheMusicFolderIfThereIsOne) {
  QDir::home().mkdir(QStringLiteral("Music"));
  answer(OpenPanel::runner(&windows->window()), "");
  QDir::home().rmdir(QStringLiteral("Music"));
  EXPECT_EQ(shownFolder, QDir::homePath().toStdString() + "/Music");
}

TEST_F(OpenPanelRunnerTest, TheBrowseButtonOpensItAndUsbEventsWaitMeanwhile) {
  bus.calls.clear();
  const StdCapture out(stdout);
  atDialog([this](OpenPanel& dialog) {
    bus.plug(makeStick("sdb", 0x10002));
    settle();
    EXPECT_TRUE(listedDisks().empty());
    type(dialog, temp.path("music"));
  });
  click(ui().btnBrowse);
  EXPECT_EQ(bus.calls, (Texts{"hold", "resume", "hold", "resume"}));  // the panel, the walk
  EXPECT_EQ(windows->songs()->totalFileSize().value(), 3);
  runUntil([this] { return listedDisks() == Texts{"/dev/sdb"}; });
}

}  // namespace
}  // namespace fillstation::test
