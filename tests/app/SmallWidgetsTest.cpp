#include <QImage>

#include "Contrast.h"
#include "WindowTest.h"

namespace fillstation::test {
namespace {

using Text = TRAttributedString;

TRAttributedString blueTitle(const QString& text) {
  TRAttributedString title(text);
  title.addAttribute(Text::kForegroundColor, QColor(Qt::blue), 0, title.length());
  title.addAttribute(Text::kUnderlineStyle, Text::kUnderlineSingle, 0, title.length());
  return title;
}

bool holds(const QImage& image, const QColor& color) {
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelColor(x, y) == color) {
        return true;
      }
    }
  }
  return false;
}

QPalette paletteOn(const QColor& window) {
  QPalette palette = QApplication::palette();
  palette.setColor(QPalette::Window, window);
  return palette;
}

TEST(LinkButtonTest, ItsTitleIsThePlainTextUntilOneIsSet) {
  LinkButton button;
  button.setText(QStringLiteral("Home"));
  EXPECT_EQ(button.attributedTitle(), Text(QStringLiteral("Home")));
  button.setAttributedTitle(blueTitle(QStringLiteral("Other")));
  EXPECT_EQ(button.attributedTitle(), blueTitle(QStringLiteral("Other")));
  EXPECT_EQ(button.text(), QStringLiteral("Other"));
}

TEST(LinkButtonTest, IsPaintedInItsColourAndUnderlined) {
  LinkButton button;
  button.setAttributedTitle(blueTitle(QStringLiteral("Home")));
  button.setPalette(paletteOn(Qt::white));
  const auto formats = button.formats();
  ASSERT_EQ(formats.size(), 1);
  EXPECT_EQ(formats.at(0).start, 0);
  EXPECT_EQ(formats.at(0).length, 4);
  EXPECT_TRUE(formats.at(0).format.fontUnderline());
  EXPECT_EQ(formats.at(0).format.foreground().color(), QColor(Qt::blue));
  button.resize(button.sizeHint());
  EXPECT_TRUE(holds(button.grab().toImage(), Qt::blue));
}

TEST(LinkButtonTest, RunsOfOneLookAreOnePiece) {
  LinkButton button;
  Text title(QStringLiteral("abcd"));
  title.addAttribute(Text::kUnderlineStyle, 1, 1, 2);
  button.setAttributedTitle(title);
  const auto formats = button.formats();
  ASSERT_EQ(formats.size(), 3);
  EXPECT_EQ(formats.at(1).start, 1);
  EXPECT_EQ(formats.at(1).length, 2);
  EXPECT_FALSE(formats.at(0).format.fontUnderline());
  EXPECT_TRUE(formats.at(1).format.fontUnderline());
  EXPECT_FALSE(formats.at(2).format.fontUnderline());
  EXPECT_EQ(formats.at(0).format.foreground().color(),
            button.palette().color(QPalette::ButtonText));
}

TEST(LinkButtonTest, IsPaintedLighterOnADarkBackground) {
  LinkButton button;
  button.setAttributedTitle(blueTitle(QStringLiteral("Home")));
  button.setPalette(paletteOn(QColor(40, 40, 40)));
  const QColor painted = button.formats().at(0).format.foreground().color();
  EXPECT_GT(painted.lightnessF(), QColor(Qt::blue).lightnessF());
  EXPECT_GT(painted.blueF(), painted.redF());
  EXPECT_EQ(button.attributedTitle().attributesAt(0).value(Text::kForegroundColor),
            QVariant(QColor(Qt::blue)));
}

TEST(LinkButtonTest, CanBeReadOnEveryGroundAlsoOnOneThatChanges) {
  LinkButton button;
  button.setAttributedTitle(blueTitle(QStringLiteral("Home")));
  button.resize(button.sizeHint());
  for (int shade = 0; shade < 256; shade += 5) {
    const QColor ground(shade, shade, shade);
    button.setPalette(paletteOn(ground));
    const QColor painted = button.formats().at(0).format.foreground().color();
    EXPECT_GE(contrast(painted, ground), 4.5) << shade;
    EXPECT_TRUE(holds(button.grab().toImage(), painted)) << shade;
  }
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

TEST(LinkButtonTest, IsAsLargeAsItsTitle) {
  LinkButton button;
  button.setText(QStringLiteral("Home page"));
  const QFontMetrics metrics(button.font());
  EXPECT_EQ(button.sizeHint(), QSize(metrics.horizontalAdvance(QStringLiteral("Home page")) + 8,
                                     metrics.height() + 8));
  EXPECT_EQ(button.cursor().shape(), Qt::PointingHandCursor);
}

TEST(BusyIndicatorTest, IsShownWhileItMovesAndAfterwardsIfItMay) {
  QWidget window;
  BusyIndicator indicator(&window);
  window.show();
  EXPECT_TRUE(indicator.isDisplayedWhenStopped());
  EXPECT_TRUE(indicator.isVisible());
  indicator.setDisplayedWhenStopped(false);
  EXPECT_FALSE(indicator.isVisible());
  indicator.startAnimation();
  EXPECT_TRUE(indicator.isVisible());
  EXPECT_TRUE(indicator.isAnimating());
  indicator.stopAnimation();
  EXPECT_FALSE(indicator.isVisible());
  EXPECT_FALSE(indicator.isAnimating());
  indicator.setDisplayedWhenStopped(true);
  EXPECT_TRUE(indicator.isVisible());
}

TEST(BusyIndicatorTest, KeepsItsPlaceWhileItIsHidden) {
  const BusyIndicator indicator;
  EXPECT_TRUE(indicator.sizePolicy().retainSizeWhenHidden());
  EXPECT_EQ(indicator.sizeHint(), QSize(24, 24));
}

TEST(BusyIndicatorTest, TheBrightDotWalksRound) {
  BusyIndicator indicator;
  indicator.show();
  indicator.startAnimation();
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

// Once another one has turned by a quarter, one that turned too would have moved.
TEST(BusyIndicatorTest, StandsStillWhileNobodySeesIt) {
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

TEST(BusyIndicatorTest, AtRestNoDotIsBright) {
  BusyIndicator indicator;
  indicator.resize(indicator.sizeHint());
  const QImage resting = indicator.grab().toImage();
  indicator.startAnimation();
  EXPECT_NE(indicator.grab().toImage(), resting);
}

}  // namespace
}  // namespace fillstation::test
