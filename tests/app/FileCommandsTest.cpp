#include <QDir>
#include <QDropEvent>
#include <QMimeData>

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

  TempFolder temp;
  std::optional<std::vector<Url>> choice;
  Texts asked;
};

TEST_F(FileCommandsTest, ThePanelIsRestrictedToTheTypeOfTheBoxAndCancelledOnlyUpdatesTheSizes) {
  ui().cmbFileType->setCurrentText(QStringLiteral("Flac"));
  click(ui().btnBrowse);
  EXPECT_EQ(asked, Texts{"Flac"});
  EXPECT_TRUE(listedPaths().empty());
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
}

TEST_F(FileCommandsTest, AFolderBecomesARootOfItsSubfoldersAndMatchingFilesIgnoringCase) {
  temp.write("album/01.mp3", "12345");
  temp.write("album/sub/02.MP3", "1");
  temp.write("album/cover.jpg", "123");
  choose(temp.path("album"));
  ASSERT_EQ(listedPaths(), Texts{temp.path("album")});
  Texts names;
  for (const auto& node : *windows->songs()->list()->at(0)->files()) {
    names.push_back(node->name().value_or(""));
  }
  EXPECT_EQ(names, (Texts{"01.mp3", "sub", "02.MP3"}));
  EXPECT_EQ(windows->songs()->totalFileSize().value(), 6);
  EXPECT_EQ(logTexts().back(), "\nLog xxxP Size 0\n");
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

TEST_F(FileCommandsTest, AFolderThatWasChosenIsRefusedUntilTheNextLaunch) {
  choose(temp.makeFolder("album"));
  choose(temp.path("album"));
  EXPECT_EQ(listedPaths(), Texts{temp.path("album")});
  controller().menuFileDeleteAll(nullptr);
  choose(temp.path("album"));
  EXPECT_TRUE(listedPaths().empty());
  EXPECT_EQ(windows->roots()->listed().size(), 1U);
}

TEST_F(FileCommandsTest, AFileIsAddedWhenItIsOfTheType) {
  choose(temp.write("a.txt", "123"), false);
  EXPECT_TRUE(listedPaths().empty());
  EXPECT_TRUE(windows->roots()->listed().empty());
  EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
  choose(temp.write("a.mp3", "123"), false);
  EXPECT_EQ(listedPaths(), Texts{temp.path("a.mp3")});
}

TEST_F(FileCommandsTest, TheMenuRemovesTheClickedRowTheSelectedOnesOrAll) {
  struct Case {
    std::set<int> selected;
    int clicked;
    QAction* command;
    Texts left;
  };
  QAction* const clickedOne = controller().fileMenuDelete();
  QAction* const selectedOnes = controller().fileMenuDeleteSelected();
  ui().lstFiles->setSelectionMode(QAbstractItemView::MultiSelection);
  for (const auto& [selected, clicked, command, left] : {
           Case{{0}, 1, clickedOne, {"/a", "/c", "/d"}},
           Case{{0, 1}, 2, clickedOne, {"/a", "/b", "/d"}},
           Case{{0, 1, 3}, 1, selectedOnes, {"/c"}},
           Case{{}, 0, controller().fileMenuDeleteAll(), {}},
       }) {
    windows->songs()->removeAllTRFiles();
    for (const char* path : {"/a", "/b", "/c", "/d"}) {
      addRoot(path, 1024);
    }
    for (const int row : selected) {
      ui().lstFiles->selectRow(row);
    }
    settle();
    rightClickRow(clicked);
    ports.log.clear();
    command->trigger();
    controller().songsTVCContextMenu()->close();
    EXPECT_EQ(listedPaths(), left);
    EXPECT_EQ(ui().lstFiles->model()->rowCount(), static_cast<int>(left.size()));
    EXPECT_EQ(windows->songs()->totalFileSize().value(), 1024 * static_cast<int>(left.size()));
    EXPECT_EQ(logTexts(), Texts{"\nLog xxxP Size 0\n"});
  }
}

class DropTest : public WindowTest {
 protected:
  DropTest() { launch(); }

  static QList<QUrl> local(const Texts& paths) {
    QList<QUrl> urls;
    for (const auto& path : paths) {
      urls.append(QUrl::fromLocalFile(QString::fromStdString(path)));
    }
    return urls;
  }
  // Drags the things over the table and drops them there if it takes them; whether it does.
  bool drop(const QList<QUrl>& urls) { return dragOver(urls) && letGo(); }
  // The two steps of it.
  bool dragOver(const QList<QUrl>& urls) {
    things.setUrls(urls);
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction | Qt::MoveAction, &things, Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(ui().lstFiles->viewport(), &enter);
    EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
    return enter.isAccepted();
  }
  bool letGo() {
    QWidget* const target = ui().lstFiles->viewport();
    QDragMoveEvent move(QPoint(6, 6), Qt::CopyAction | Qt::MoveAction, &things, Qt::LeftButton,
                        Qt::NoModifier);
    QCoreApplication::sendEvent(target, &move);
    QDropEvent drop(QPointF(6, 6), Qt::CopyAction | Qt::MoveAction, &things, Qt::LeftButton,
                    Qt::NoModifier);
    QCoreApplication::sendEvent(target, &drop);
    // Dropped files stay with their owner: a move would delete them.
    EXPECT_EQ(move.dropAction(), Qt::CopyAction);
    EXPECT_EQ(drop.dropAction(), Qt::CopyAction);
    return move.isAccepted() && drop.isAccepted();
  }

  TempFolder temp;
  QMimeData things;
};

TEST_F(DropTest, FoldersAndFilesAreAddedAsIfChosen) {
  temp.write("album/01.mp3", "12345");
  temp.write("single.mp3", "1");
  ports.log.clear();
  // A folder's address may end where its name does or after a slash.
  EXPECT_TRUE(drop(local({temp.path("album") + "/", temp.path("single.mp3"), temp.path("album")})));
  EXPECT_EQ(listedPaths(), (Texts{temp.path("album"), temp.path("single.mp3")}));
  EXPECT_EQ(windows->songs()->list()->at(0)->files()->size(), 1U);
  EXPECT_EQ(windows->roots()->listed().size(), 2U);
  EXPECT_EQ(logTexts().back(), "\nLog xxxP Size 0\n");
}

TEST_F(DropTest, AddressesOfOtherMachinesAreRefused) {
  const QString path = QString::fromStdString(temp.makeFolder("album"));
  const QString before = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(QString::fromStdString(temp.path())));
  for (const QString& elsewhere :
       {QStringLiteral("https://fillstation.example/a.mp3"),
        QStringLiteral("file://fillstation.example") + path, QStringLiteral("file:album")}) {
    EXPECT_FALSE(drop({QUrl(elsewhere)})) << elsewhere.toStdString();
  }
  EXPECT_TRUE(QDir::setCurrent(before));
  EXPECT_FALSE(drop({}));
  EXPECT_TRUE(listedPaths().empty());
  EXPECT_TRUE(drop({QUrl(QStringLiteral("file://localhost") + path)}));
  EXPECT_EQ(listedPaths(), Texts{temp.path("album")});
}

TEST_F(DropTest, TheTableHasAFrameForAsLongAsItWouldTakeTheThings) {
  const QList<QUrl> album = local({temp.makeFolder("album")});
  QWidget& cells = *ui().lstFiles->viewport();
  const auto isFramed = [&] {
    const QImage image = cells.grab().toImage();
    const QColor frame = ui().lstFiles->palette().color(QPalette::Highlight);
    const int right = image.width() - 1;
    const int bottom = image.height() - 1;
    EXPECT_NE(image.pixelColor(2, bottom / 2), frame) << "the frame is two points wide";
    int edges = 0;
    for (const QPoint& at : {QPoint(1, bottom / 2), QPoint(right - 1, bottom / 2),
                             QPoint(right / 2, 1), QPoint(right / 2, bottom - 1)}) {
      edges += image.pixelColor(at) == frame ? 1 : 0;
    }
    EXPECT_TRUE(edges == 0 || edges == 4) << edges;
    return edges == 4;
  };
  EXPECT_FALSE(isFramed());
  EXPECT_FALSE(dragOver({QUrl(QStringLiteral("https://fillstation.example/a.mp3"))}));
  EXPECT_FALSE(isFramed());
  PaintCount count(&cells);
  EXPECT_TRUE(dragOver(album));
  runUntil([&] { return count.paints > 0; });
  EXPECT_TRUE(isFramed());
  QDragLeaveEvent leave;
  QCoreApplication::sendEvent(&cells, &leave);
  EXPECT_FALSE(isFramed());
  EXPECT_TRUE(drop(album));
  EXPECT_FALSE(isFramed());
  controller().enableView(false);
  dragOver(album);
  EXPECT_FALSE(isFramed());
}

TEST_F(DropTest, NothingIsTakenOnceTheControlsAreOff) {
  temp.makeFolder("album");
  EXPECT_TRUE(dragOver(local({temp.path("album")})));
  controller().enableView(false);
  EXPECT_FALSE(letGo());
  EXPECT_FALSE(drop(local({temp.path("album")})));
  EXPECT_TRUE(listedPaths().empty());
  controller().enableView(true);
  EXPECT_TRUE(drop(local({temp.path("album")})));
  EXPECT_EQ(listedPaths(), Texts{temp.path("album")});
}

}  // namespace
}  // namespace fillstation::test
