#include <QDir>
#include <QDropEvent>
#include <QMimeData>

#include "TempFolder.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

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
    // Whoever lent the things keeps them: a move would have them deleted.
    EXPECT_EQ(move.dropAction(), Qt::CopyAction);
    EXPECT_EQ(drop.dropAction(), Qt::CopyAction);
    return move.isAccepted() && drop.isAccepted();
  }
  Texts listed() const {
    Texts paths;
    for (const auto& root : *windows->songs()->list()) {
      paths.push_back(root->path().value_or("(none)"));
    }
    return paths;
  }

  TempFolder temp;
  QMimeData things;
};

TEST_F(DropTest, FoldersAndFilesAreAddedAsIfChosen) {
  temp.write("album/01.mp3", "12345");
  temp.write("single.mp3", "1");
  ports.log.clear();
  EXPECT_TRUE(drop(local({temp.path("album"), temp.path("single.mp3")})));
  EXPECT_EQ(listed(), (Texts{temp.path("album"), temp.path("single.mp3")}));
  EXPECT_EQ(windows->songs()->list()->at(0)->files()->size(), 1U);
  EXPECT_EQ(windows->roots()->listed().size(), 2U);
  EXPECT_EQ(logTexts().back(), "\nLog xxxP Size 0\n");
}

TEST_F(DropTest, FilesOfAnotherTypeAndWhatIsListedAlreadyAreLeftOut) {
  temp.makeFolder("album");
  temp.write("cover.jpg", "1");
  drop(local({temp.path("album"), temp.path("cover.jpg")}));
  drop(local({temp.path("album")}));
  EXPECT_EQ(listed(), Texts{temp.path("album")});
}

TEST_F(DropTest, AFoldersAddressEndsWhereItsNameDoes) {
  temp.makeFolder("album");
  drop({QUrl(QStringLiteral("file://") + QString::fromStdString(temp.path("album")) +
             QStringLiteral("/"))});
  EXPECT_EQ(listed(), Texts{temp.path("album")});
}

TEST_F(DropTest, WhatIsNotOnThisMachineIsRefused) {
  EXPECT_FALSE(drop({QUrl(QStringLiteral("https://fillstation.example/a.mp3"))}));
  EXPECT_FALSE(drop({}));
  EXPECT_TRUE(listed().empty());
}

TEST_F(DropTest, TheSamePathOnAnotherMachineIsRefused) {
  temp.makeFolder("album");
  const QString path = QString::fromStdString(temp.path("album"));
  EXPECT_FALSE(drop({QUrl(QStringLiteral("file://fillstation.example") + path)}));
  EXPECT_TRUE(listed().empty());
  EXPECT_TRUE(drop({QUrl(QStringLiteral("file://localhost") + path)}));
  EXPECT_EQ(listed(), Texts{temp.path("album")});
}

TEST_F(DropTest, APathBelowNothingIsRefused) {
  temp.makeFolder("album");
  const QString before = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(QString::fromStdString(temp.path())));
  EXPECT_FALSE(drop({QUrl(QStringLiteral("file:album"))}));
  EXPECT_TRUE(QDir::setCurrent(before));
  EXPECT_TRUE(listed().empty());
}

TEST_F(DropTest, NothingIsTakenWhileTheControlsAreOff) {
  temp.makeFolder("album");
  controller().enableView(false);
  EXPECT_FALSE(drop(local({temp.path("album")})));
  EXPECT_TRUE(listed().empty());
  controller().enableView(true);
  EXPECT_TRUE(drop(local({temp.path("album")})));
  EXPECT_EQ(listed(), Texts{temp.path("album")});
}

TEST_F(DropTest, ADragOverTheTableIsNotTakenOnceTheControlsAreOff) {
  temp.makeFolder("album");
  EXPECT_TRUE(dragOver(local({temp.path("album")})));
  controller().enableView(false);
  EXPECT_FALSE(letGo());
  EXPECT_TRUE(listed().empty());
}

}  // namespace
}  // namespace fillstation::test
