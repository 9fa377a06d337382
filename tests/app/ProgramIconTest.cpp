#include "ProgramIcon.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QPixmap>
#include <tuple>

#include "TempFolder.h"

namespace fillstation::test {
namespace {

class ProgramIconTest : public ::testing::Test {
 protected:
  ProgramIconTest() : paths_(QIcon::themeSearchPaths()), name_(QIcon::themeName()) {
    QIcon::setThemeSearchPaths({QString::fromStdString(theme.path())});
    QIcon::setThemeName(QStringLiteral("hicolor"));
  }
  ~ProgramIconTest() override {
    QIcon::setThemeSearchPaths(paths_);
    QIcon::setThemeName(name_);
  }

  static QImage picture(int size) { return programIcon().pixmap(size).toImage(); }

  // Three bodies side by side, with gaps between them.
  static void expectDrawing(const QImage& drawn, int size) {
    ASSERT_EQ(drawn.size(), QSize(size, size));
    const auto across = [&](int sixteenth) {
      return drawn.pixelColor((2 * sixteenth + 1) * size / 32, size / 2).alpha();
    };
    for (const int body : {2, 3, 7, 8, 12, 13}) {
      EXPECT_EQ(across(body), 255) << size << " " << body;
    }
    for (const int gap : {0, 5, 10, 15}) {
      EXPECT_EQ(across(gap), 0) << size << " " << gap;
    }
  }

  TempFolder theme;

 private:
  QStringList paths_;
  QString name_;
};

TEST_F(ProgramIconTest, WithoutATheme_ThePicturesWithinTheProgramAreTaken) {
  QList<QSize> sizes;
  for (const int size : {16, 24, 32, 48, 64}) {
    sizes.append({size, size});
    expectDrawing(picture(size), size);
  }
  EXPECT_EQ(programIcon().availableSizes(), sizes);
}

TEST_F(ProgramIconTest, APictureHasThePixelsOfItsScreen) {
  for (const auto& [side, density, pixels] :
       {std::tuple(48, 1.0, 48), {48, 3.0, 144}, {37, 1.5, 56}}) {
    const QPixmap drawn = programPicture(side, density);
    EXPECT_EQ(drawn.devicePixelRatio(), density);
    expectDrawing(drawn.toImage(), pixels);
  }
}

TEST_F(ProgramIconTest, TheIconOfTheThemeComesFirst) {
  QDir folder(QString::fromStdString(theme.path()));
  ASSERT_TRUE(folder.mkpath(QStringLiteral("hicolor/64x64/apps")));
  QFile index(folder.filePath(QStringLiteral("hicolor/index.theme")));
  ASSERT_TRUE(index.open(QIODevice::WriteOnly));
  index.write("[Icon Theme]\nName=hicolor\nDirectories=64x64/apps\n[64x64/apps]\nSize=64\n");
  index.close();
  QImage red(64, 64, QImage::Format_ARGB32);
  red.fill(Qt::red);
  ASSERT_TRUE(red.save(folder.filePath(QStringLiteral("hicolor/64x64/apps/fillstation.png"))));
  QIcon::setThemeSearchPaths({folder.path()});
  EXPECT_EQ(picture(64).pixelColor(0, 0), QColor(Qt::red));
}

}  // namespace
}  // namespace fillstation::test
