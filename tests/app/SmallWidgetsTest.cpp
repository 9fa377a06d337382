#include <QImage>
#include <cmath>
#include <numbers>
#include <tuple>

#include "TempFolder.h"
#include "WindowStyle.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

TRAttributedString blueTitle(const QString& text) {
  TRAttributedString title{text, {}};
  title.attributes.setForeground(QColor(Qt::blue));
  title.attributes.setFontUnderline(true);
  return title;
}

// Around all points of that colour.
QRect spreadOf(const QImage& image, const QColor& color) {
  QRect spread;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelColor(x, y) == color) {
        spread |= QRect(x, y, 1, 1);
      }
    }
  }
  return spread;
}

bool holds(const QImage& image, const QColor& color) { return !spreadOf(image, color).isEmpty(); }

QPalette paletteOn(const QColor& window) {
  QPalette palette = QApplication::palette();
  palette.setColor(QPalette::Window, window);
  return palette;
}

TEST(TRAttributedStringTest, FormatsALinkOverItsWholeLength) {
  const auto link = TRAttributedString::hyperlinkFromString(
      QStringLiteral("Home page"), Url::withString("https://a.example/%20b"));
  TRAttributedString expected = blueTitle(QStringLiteral("Home page"));
  expected.attributes.setAnchorHref(QStringLiteral("https://a.example/%20b"));
  EXPECT_EQ(link.text, expected.text);
  EXPECT_EQ(link.attributes.properties(), expected.attributes.properties());
  EXPECT_EQ(TRAttributedString::hyperlinkFromString({}, Url::withString("https://a.example/")).text,
            QString());
}

TEST(LinkButtonTest, IsPaintedInTheColoursOfItsTitle) {
  LinkButton button;
  button.setText(QStringLiteral("Home"));
  button.setPalette(paletteOn(Qt::white));
  EXPECT_EQ(button.attributedTitle(), (TRAttributedString{QStringLiteral("Home"), {}}));
  EXPECT_FALSE(button.paintedFormat().fontUnderline());
  EXPECT_EQ(button.paintedFormat().foreground().color(),
            button.palette().color(QPalette::ButtonText));
  button.setAttributedTitle(blueTitle(QStringLiteral("Other")));
  EXPECT_EQ(button.attributedTitle(), blueTitle(QStringLiteral("Other")));
  EXPECT_EQ(button.text(), QStringLiteral("Other"));
  EXPECT_TRUE(button.paintedFormat().fontUnderline());
  EXPECT_EQ(button.paintedFormat().foreground().color(), QColor(Qt::blue));
  const QFontMetrics metrics(button.font());
  EXPECT_EQ(button.sizeHint(),
            QSize(metrics.horizontalAdvance(button.text()) + 8, metrics.height() + 8));
  EXPECT_EQ(button.cursor().shape(), Qt::PointingHandCursor);
  button.resize(button.sizeHint());
  EXPECT_TRUE(holds(button.grab().toImage(), Qt::blue));
}

TEST(LinkButtonTest, PaintsItsWholeTitleInTheMiddle) {
  LinkButton button;
  QPalette colours = paletteOn(Qt::white);
  colours.setColor(QPalette::ButtonText, Qt::red);
  button.setPalette(colours);
  TRAttributedString title = blueTitle(QString(3, QChar(0x2588)));
  title.attributes.setFontUnderline(false);
  button.setAttributedTitle(title);
  button.resize(button.sizeHint().width(), 60);
  const QImage image = button.grab().toImage();
  EXPECT_FALSE(holds(image, Qt::red));
  EXPECT_NEAR(spreadOf(image, Qt::blue).center().y(), 30, 3);
  EXPECT_NEAR(spreadOf(image, Qt::blue).center().x(), button.width() / 2, 2);
}

TEST(LinkButtonTest, IsPaintedAgainInTheColourOfANewTitle) {
  LinkButton button;
  button.setAttributedTitle(blueTitle(QStringLiteral("Home")));
  button.show();
  PaintCount count(&button);
  ASSERT_TRUE(QTest::qWaitFor([&] { return count.paints > 0; }));
  count.paints = 0;
  button.setAttributedTitle({QStringLiteral("Home"), {}});
  EXPECT_TRUE(QTest::qWaitFor([&] { return count.paints > 0; }));
}

TEST(LinkButtonTest, CanBeReadOnEveryGroundAlsoOnOneThatChanges) {
  LinkButton button;
  button.setAttributedTitle(blueTitle(QStringLiteral("Home")));
  button.resize(button.sizeHint());
  for (int shade = 0; shade < 256; shade += 5) {
    const QColor ground(shade, shade, shade);
    button.setPalette(paletteOn(ground));
    const QColor painted = button.paintedFormat().foreground().color();
    EXPECT_GE(contrast(painted, ground), 4.5) << shade;
    EXPECT_GE(painted.blueF(), painted.redF()) << shade;
    EXPECT_TRUE(holds(button.grab().toImage(), painted)) << shade;
  }
  EXPECT_EQ(button.attributedTitle(), blueTitle(QStringLiteral("Home")));
}

TEST(LinkButtonTest, ShowsThatItHasTheFocus) {
  QWidget window;
  LinkButton button(&window);
  button.setAttributedTitle(blueTitle(QStringLiteral("Home")));
  button.resize(button.sizeHint());
  window.show();
  ASSERT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == &window; }));
  button.clearFocus();
  const QImage without = button.grab().toImage();
  window.setAttribute(Qt::WA_KeyboardFocusChange);  // as after the first Tab
  EXPECT_EQ(button.grab().toImage(), without);
  button.setFocus(Qt::TabFocusReason);
  EXPECT_NE(button.grab().toImage(), without);
}

TEST(BusyIndicatorTest, IsShownWhileItMovesAndAfterwardsIfItMay) {
  QWidget window;
  BusyIndicator indicator(&window);
  window.show();
  EXPECT_TRUE(indicator.sizePolicy().retainSizeWhenHidden());
  EXPECT_EQ(indicator.sizeHint(), QSize(24, 24));
  EXPECT_TRUE(indicator.isDisplayedWhenStopped());
  EXPECT_TRUE(indicator.isVisible());
  indicator.setDisplayedWhenStopped(false);
  EXPECT_FALSE(indicator.isVisible());
  for (const bool moving : {true, false}) {
    moving ? indicator.startAnimation() : indicator.stopAnimation();
    EXPECT_EQ(indicator.isVisible(), moving);
    EXPECT_EQ(indicator.isAnimating(), moving);
  }
  indicator.setDisplayedWhenStopped(true);
  EXPECT_TRUE(indicator.isVisible());
}

TEST(BusyIndicatorTest, TheBrightDotWalksRound) {
  BusyIndicator indicator;
  indicator.show();
  const QImage resting = indicator.grab().toImage();
  indicator.startAnimation();
  EXPECT_NE(indicator.grab().toImage(), resting);
  std::set<int> steps;
  std::set<QByteArray> pictures;
  ASSERT_TRUE(QTest::qWaitFor([&] {
    const QImage picture = indicator.grab().toImage();
    pictures.insert(
        QByteArray(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes()));
    steps.insert(indicator.step());
    return steps.size() == 8 && indicator.step() == 1;
  }));
  EXPECT_EQ(*steps.begin(), 0);
  EXPECT_EQ(*steps.rbegin(), 7);
  EXPECT_EQ(pictures.size(), 8U);
}

// How dark each dot is at its middle, clockwise from the top, in percent.
std::vector<int> shadesOf(BusyIndicator& indicator) {
  const QImage image = indicator.grab().toImage();
  const double radius = 0.38 * image.width();
  const auto lightness = [&](double x, double y) {
    return image.pixelColor(qRound(x), qRound(y)).lightness();
  };
  std::vector<int> shades;
  for (int dot = 0; dot < 8; ++dot) {
    const double angle = 2 * std::numbers::pi * dot / 8;
    const double x = image.width() / 2.0 + radius * std::sin(angle);
    const double y = image.height() / 2.0 - radius * std::cos(angle);
    const int inside = lightness(x, y);
    shades.push_back(qRound((255 - inside) / 2.55));
    for (const auto& [right, down] : {std::pair(1, 0), {-1, 0}, {0, 1}, {0, -1}}) {
      const double near = 0.9 * radius / 4.2;
      const double far = 1.1 * radius / 4.2;
      EXPECT_EQ(lightness(x + near * right, y + near * down), inside) << dot;
      EXPECT_EQ(lightness(x + far * right, y + far * down), 255) << dot;
    }
  }
  return shades;
}

TEST(BusyIndicatorTest, DrawsEightRoundDotsThatFadeBehindTheBrightOne) {
  BusyIndicator indicator;
  QPalette colours = paletteOn(Qt::white);
  colours.setColor(QPalette::WindowText, Qt::black);
  indicator.setPalette(colours);
  indicator.resize(240, 240);
  EXPECT_EQ(shadesOf(indicator), std::vector<int>(8, 20));
  std::set<int> shades;
  const QImage resting = indicator.grab().toImage();
  for (int x = 0; x < resting.width(); ++x) {
    shades.insert(resting.pixelColor(x, resting.height() / 4).lightness());
  }
  EXPECT_EQ(*shades.begin(), 204) << "the dots have no outline";
  EXPECT_GT(shades.size(), 2U) << "their edges are smooth";
  indicator.startAnimation();
  EXPECT_EQ(shadesOf(indicator), (std::vector<int>{90, 20, 20, 20, 20, 30, 50, 70}));
}

TEST(BusyIndicatorTest, TurnsAtASpeedThatTheEyeCanFollow) {
  BusyIndicator indicator;
  indicator.startAnimation();
  int steps = 0;
  constexpr int kLooks = 20;
  for (int look = 0; look < kLooks; ++look) {
    const int before = indicator.step();
    QCoreApplication::processEvents();
    steps += indicator.step() != before ? 1 : 0;
  }
  EXPECT_LT(steps, kLooks);
}

// Once another one has turned by a quarter, one that turned too would have moved.
TEST(BusyIndicatorTest, StandsStillInAMinimisedWindow) {
  QWidget window;
  BusyIndicator indicator(&window);
  BusyIndicator clock;
  const auto turns = [&] {
    const int before = indicator.step();
    clock.startAnimation();
    const int begun = clock.step();
    EXPECT_TRUE(QTest::qWaitFor([&] { return (clock.step() - begun + 8) % 8 == 2; }));
    clock.stopAnimation();
    return indicator.step() != before;
  };
  clock.show();
  indicator.startAnimation();
  EXPECT_FALSE(turns());
  window.show();
  EXPECT_TRUE(turns());
  const PaintCount seen(&indicator);
  EXPECT_TRUE(turns());
  EXPECT_GT(seen.paints, 0);
  window.showMinimized();
  indicator.startAnimation();
  EXPECT_FALSE(turns());
  window.showNormal();
  EXPECT_TRUE(turns());
  window.hide();
  EXPECT_FALSE(turns());
  EXPECT_TRUE(indicator.isAnimating());
  window.show();
  EXPECT_TRUE(turns());
  indicator.stopAnimation();
  EXPECT_FALSE(turns());
  window.hide();
  window.show();
  EXPECT_FALSE(turns());
}

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

TEST_F(ProgramIconTest, WithoutAThemeThePicturesWithinTheProgramAreTaken) {
  QList<QSize> sizes;
  for (const int size : {16, 24, 32, 48, 64}) {
    sizes.append({size, size});
    expectDrawing(picture(size), size);
  }
  EXPECT_EQ(programIcon().availableSizes(), sizes);
}

TEST_F(ProgramIconTest, AnEyeIsDrawnForThePasswordWithoutATheme) {
  QWidget parent;
  CredentialsPanel panel(&parent);
  panel.show();
  const QIcon eye = panel.ui().passwordField->actions().constFirst()->icon();
  ASSERT_EQ(eye.availableSizes(), QList<QSize>{QSize(32, 32)});
  const QImage image = eye.pixmap(32).toImage();
  const auto alpha = [&](int x, int y) { return image.pixelColor(x, y).alpha(); };
  std::set<int> alphas;
  for (int y = 0; y < 32; ++y) {
    for (int x = 0; x < 32; ++x) {
      alphas.insert(alpha(x, y));
      EXPECT_NEAR(alpha(x, y), alpha(31 - x, y), 30) << x << ' ' << y;
      EXPECT_NEAR(alpha(x, y), alpha(x, 31 - y), 30) << x << ' ' << y;
      const bool isPupil = QRect(11, 11, 10, 10).contains(x, y);
      EXPECT_TRUE(!isPupil || std::abs(alpha(x, y) - alpha(y, x)) < 30) << x << ' ' << y;
    }
  }
  EXPECT_GT(alphas.size(), 2U) << "its edges are smooth";
  EXPECT_EQ(alpha(0, 0), 0);
  EXPECT_EQ(alpha(15, 15), 255);
  EXPECT_EQ(image.pixelColor(15, 15), panel.palette().color(QPalette::Text));
  // The lids are two points wide.
  EXPECT_LT(alpha(15, 7), 60);
  EXPECT_GT(alpha(15, 8), 200);
  EXPECT_GT(alpha(15, 9), 200);
}

TEST_F(ProgramIconTest, APictureHasThePixelsOfItsScreen) {
  for (const auto& [side, density, pixels] :
       {std::tuple(48, 1.0, 48), {48, 3.0, 144}, {37, 1.5, 56}}) {
    const QPixmap drawn = programPicture(side, density);
    EXPECT_EQ(drawn.devicePixelRatio(), density);
    expectDrawing(drawn.toImage(), pixels);
  }
}

TEST_F(ProgramIconTest, TheIconOfTheThemeIsPreferred) {
  theme.write("hicolor/index.theme",
              "[Icon Theme]\nName=hicolor\nDirectories=64x64/apps\n[64x64/apps]\nSize=64\n");
  QImage red(64, 64, QImage::Format_ARGB32);
  red.fill(Qt::red);
  ASSERT_TRUE(red.save(QString::fromStdString(theme.makeFolder("hicolor/64x64/apps")) +
                       QStringLiteral("/fillstation.png")));
  QIcon::setThemeSearchPaths({QString::fromStdString(theme.path())});
  EXPECT_EQ(picture(64).pixelColor(0, 0), QColor(Qt::red));
}

}  // namespace
}  // namespace fillstation::test
