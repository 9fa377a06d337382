#include "OpenPanel.h"

#include <QAbstractItemModelTester>
#include <QDialogButtonBox>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeView>
#include <filesystem>

#include "FileTypeProxy.h"
#include "TempFolder.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

// The file system with this folder alone read: the model's tester walks all there is to read.
class OneFolderModel : public QFileSystemModel {
 public:
  explicit OneFolderModel(const QString& folder) : folder_(folder) { setRootPath(folder); }
  bool canFetchMore(const QModelIndex& index) const override {
    return filePath(index) == folder_ && QFileSystemModel::canFetchMore(index);
  }

 private:
  QString folder_;
};

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
  QModelIndex row(const QString& name) const {
    const QModelIndex root = list()->rootIndex();
    for (int at = 0; at < list()->model()->rowCount(root); ++at) {
      const QModelIndex index = list()->model()->index(at, 0, root);
      if (index.data() == name) {
        return index;
      }
    }
    return {};
  }
  QStringList shown() const {
    QStringList names;
    const QModelIndex root = list()->rootIndex();
    for (int at = 0; at < list()->model()->rowCount(root); ++at) {
      names.append(list()->model()->index(at, 0, root).data().toString());
    }
    return names;
  }
  void select(const QString& name) {
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {},
                      list()->visualRect(row(name)).center());
  }
  // Replaces the name, then Return.
  void type(const std::string& text) {
    edit()->setFocus();
    edit()->setText(QString::fromStdString(text));
    QTest::keyClick(edit(), Qt::Key_Return);
  }
  std::string chosen() const { return panel->chosenPath().toStdString(); }

  TempFolder temp;
  std::unique_ptr<OpenPanel> panel;
};

TEST_F(OpenPanelTest, ShowsFoldersFirstAndTheFilesOfTheTypeWhateverTheirCase) {
  open();
  EXPECT_EQ(shown().join(QLatin1Char(' ')), QStringLiteral("album empty.jpg One.MP3 two.mp3"));
}

TEST_F(OpenPanelTest, TheTypeIsNoWildcard) {
  open("*");
  EXPECT_EQ(shown().join(QLatin1Char(' ')), QStringLiteral("album empty.jpg"));
  open("mp?");
  EXPECT_EQ(shown().join(QLatin1Char(' ')), QStringLiteral("album empty.jpg"));
}

TEST_F(OpenPanelTest, SortsByAColumnAsTheModelDoes) {
  open();
  list()->sortByColumn(0, Qt::DescendingOrder);
  settle();
  EXPECT_EQ(shown().join(QLatin1Char(' ')), QStringLiteral("two.mp3 One.MP3 empty.jpg album"));
}

TEST_F(OpenPanelTest, NothingIsChosenAtFirst) {
  open();
  EXPECT_EQ(chosen(), "");
  EXPECT_FALSE(openButton()->isEnabled());
}

TEST_F(OpenPanelTest, ASelectedFileIsChosen) {
  open();
  select(QStringLiteral("two.mp3"));
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/two.mp3"));
  EXPECT_FALSE(panel->isVisible());
  EXPECT_EQ(panel->result(), QDialog::Accepted);
}

TEST_F(OpenPanelTest, ASelectedFolderIsChosenInsteadOfEntered) {
  open();
  select(QStringLiteral("album"));
  EXPECT_EQ(edit()->text(), QStringLiteral("album"));
  EXPECT_TRUE(openButton()->isEnabled());
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/album"));
  EXPECT_FALSE(panel->isVisible());
}

TEST_F(OpenPanelTest, TheFolderThatWasSelectedLastIsChosenNotAnEarlierFile) {
  open();
  select(QStringLiteral("two.mp3"));
  select(QStringLiteral("album"));
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/album"));
}

TEST_F(OpenPanelTest, TheFileThatWasSelectedLastIsChosenNotAnEarlierFolder) {
  open();
  select(QStringLiteral("album"));
  select(QStringLiteral("two.mp3"));
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/two.mp3"));
}

TEST_F(OpenPanelTest, ADoubleClickEntersAFolder) {
  open();
  select(QStringLiteral("album"));
  QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {},
                     list()->visualRect(row(QStringLiteral("album"))).center());
  runUntil([this] { return shown() == QStringList{QStringLiteral("01.mp3")}; });
  EXPECT_TRUE(panel->isVisible());
  EXPECT_EQ(panel->directory().path(), folder() + QStringLiteral("/album"));
  EXPECT_EQ(edit()->text(), folder() + QStringLiteral("/album"));
  ASSERT_TRUE(openButton()->isEnabled());
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/album"));
}

TEST_F(OpenPanelTest, NamesAreShownHarmlesslyAndChosenAsTheyAre) {
  const std::string name = "evil\xE2\x80\xAE\n.mp3";
  temp.write("music/" + name, "1");
  open();
  const QString harmless = QString::fromUtf8("evil\uFFFD\uFFFD.mp3");
  ASSERT_TRUE(shown().contains(harmless));
  select(harmless);
  EXPECT_EQ(edit()->text(), QString::fromStdString(name));
  click(openButton());
  EXPECT_EQ(chosen(), temp.path("music/" + name));
}

TEST_F(OpenPanelTest, TheProxyKeepsTheRulesOfModels) {
  OneFolderModel source(folder());
  FileTypeProxy proxy("mp3");
  proxy.setSourceModel(&source);
  const QAbstractItemModelTester tester(&proxy,
                                        QAbstractItemModelTester::FailureReportingMode::Fatal);
  const auto rows = [&] { return proxy.rowCount(proxy.mapFromSource(source.index(folder()))); };
  runUntil([&] { return rows() == 4; });
  temp.write("music/three.mp3", "1");
  temp.write("music/three.jpg", "1");
  runUntil([&] { return rows() == 5; });
}

TEST_F(OpenPanelTest, TheColumnsFillTheWidthAndNamesTakeMostOfIt) {
  open();
  const auto* header = list()->header();
  EXPECT_EQ(header->length(), list()->viewport()->width());
  EXPECT_GT(2 * header->sectionSize(0), header->length());
}

TEST_F(OpenPanelTest, OnlyNamesAreChangedForTheirShowing) {
  open();
  const QModelIndex two = row(QStringLiteral("two.mp3"));
  EXPECT_EQ(two.data(QFileSystemModel::FileNameRole), QStringLiteral("two.mp3"));
  EXPECT_FALSE(two.data(Qt::DecorationRole).value<QIcon>().isNull());
}

TEST_F(OpenPanelTest, ADoubleClickChoosesAFile) {
  open();
  select(QStringLiteral("two.mp3"));
  QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {},
                     list()->visualRect(row(QStringLiteral("two.mp3"))).center());
  EXPECT_EQ(chosen(), temp.path("music/two.mp3"));
}

TEST_F(OpenPanelTest, ATypedPathIsChosen) {
  open();
  for (const char* typed : {"album", "album/../album/", "two.mp3"}) {
    panel->show();
    waitForActive(*panel);
    type(typed);
    EXPECT_FALSE(panel->isVisible()) << typed;
  }
  EXPECT_EQ(chosen(), temp.path("music/two.mp3"));
  panel->show();
  waitForActive(*panel);
  type(temp.path("music/album/"));
  EXPECT_EQ(chosen(), temp.path("music/album"));
}

TEST_F(OpenPanelTest, WhatIsMissingOrOfAnotherTypeOrNothingIsNotChosen) {
  open();
  for (const char* typed : {"missing.mp3", "cover.jpg", ""}) {
    type(typed);
    EXPECT_TRUE(panel->isVisible()) << typed;
    EXPECT_EQ(chosen(), "") << typed;
    EXPECT_EQ(edit()->selectedText(), QString::fromLatin1(typed));
  }
}

TEST_F(OpenPanelTest, SaysWhatItIsForAndHidesTheTypeChoice) {
  open("a\nb");
  EXPECT_EQ(panel->windowTitle(), QString::fromUtf8("Add a folder or a file (a\uFFFDb)"));
  for (const char* name : {"fileTypeLabel", "fileTypeCombo"}) {
    EXPECT_FALSE(panel->findChild<QWidget*>(QLatin1String(name))->isVisible()) << name;
  }
}

TEST_F(OpenPanelTest, ChangesNothingOnTheDisk) {
  open();
  EXPECT_TRUE(panel->testOption(QFileDialog::ReadOnly));
  EXPECT_TRUE(panel->testOption(QFileDialog::DontUseNativeDialog));
}

// The function that the window uses.
class OpenPanelRunnerTest : public OpenPanelTest {
 protected:
  // Answers the dialog with a typed text, or cancels it; keeps the folder that it showed.
  std::optional<std::vector<Url>> answer(const OpenPanelFunction& run,
                                         const std::optional<std::string>& typed) {
    whenever([this, typed] {
      auto* dialog = windows->window().findChild<OpenPanel*>();
      if (dialog == nullptr || QApplication::activeWindow() != dialog) {
        return false;
      }
      shownFolder = dialog->directory().path().toStdString();
      if (typed) {
        auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        name->setText(QString::fromStdString(*typed));
        QTest::keyClick(name, Qt::Key_Return);
      } else {
        QTest::keyClick(dialog, Qt::Key_Escape);
      }
      return true;
    });
    return run("mp3");
  }

  std::string shownFolder;
};

TEST_F(OpenPanelRunnerTest, ReturnsTheAddressOfAFolder) {
  const auto urls = answer(OpenPanel::runner(&windows->window()), temp.path("music/album"));
  ASSERT_TRUE(urls);
  EXPECT_EQ(*urls, std::vector{Url::fromPath(temp.path("music/album"), true)});
}

TEST_F(OpenPanelRunnerTest, ReturnsTheAddressOfAFile) {
  const std::string path = temp.write("music/M\xC3\xA4r #1.mp3", "1");
  const auto urls = answer(OpenPanel::runner(&windows->window()), path);
  ASSERT_TRUE(urls);
  EXPECT_EQ(*urls, std::vector{Url::fromPath(path, false)});
}

TEST_F(OpenPanelRunnerTest, ReturnsNothingWhenItIsCancelled) {
  EXPECT_FALSE(answer(OpenPanel::runner(&windows->window()), std::nullopt));
}

TEST_F(OpenPanelRunnerTest, BeginsAtHomeAndGoesOnWhereTheLastChoiceWas) {
  const auto run = OpenPanel::runner(&windows->window());
  answer(run, std::nullopt);
  EXPECT_EQ(shownFolder, QDir::homePath().toStdString());
  answer(run, temp.path("music/album"));
  EXPECT_EQ(shownFolder, QDir::homePath().toStdString());
  answer(run, std::nullopt);
  EXPECT_EQ(shownFolder, temp.path("music"));
  answer(run, std::nullopt);
  EXPECT_EQ(shownFolder, temp.path("music"));
}

TEST_F(OpenPanelRunnerTest, BeginsInTheMusicFolderIfThereIsOne) {
  QDir::home().mkdir(QStringLiteral("Music"));
  answer(OpenPanel::runner(&windows->window()), std::nullopt);
  QDir::home().rmdir(QStringLiteral("Music"));
  EXPECT_EQ(shownFolder, QDir::homePath().toStdString() + "/Music");
}

TEST_F(OpenPanelRunnerTest, LeavesTheHomeFolderAsItWas) {
  answer(OpenPanel::runner(&windows->window()), temp.path("music/album"));
  const std::filesystem::path home(QDir::homePath().toStdString());
  EXPECT_TRUE(std::filesystem::is_empty(home));
}

TEST_F(OpenPanelRunnerTest, TheBrowseButtonOpensIt) {
  whenever([this] {
    auto* dialog = windows->window().findChild<OpenPanel*>();
    if (dialog == nullptr || QApplication::activeWindow() != dialog) {
      return false;
    }
    auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    name->setText(QString::fromStdString(temp.path("music")));
    QTest::keyClick(name, Qt::Key_Return);
    return true;
  });
  click(ui().btnBrowse);
  EXPECT_EQ(windows->songs()->totalFileSize().value(), 3);
}

TEST_F(OpenPanelRunnerTest, UsbEventsWaitWhileItIsUp) {
  bus.calls.clear();
  const StdCapture out(stdout);
  whenever([this] {
    auto* dialog = windows->window().findChild<OpenPanel*>();
    if (dialog == nullptr || QApplication::activeWindow() != dialog) {
      return false;
    }
    bus.plug(makeStick("sdb", 0x10002));
    settle();
    EXPECT_TRUE(listedDisks().empty());
    dialog->close();
    return true;
  });
  click(ui().btnBrowse);
  EXPECT_EQ(bus.calls, (Texts{"hold", "resume"}));
  runUntil([this] { return listedDisks() == Texts{"/dev/sdb"}; });
}

}  // namespace
}  // namespace fillstation::test
