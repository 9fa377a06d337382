#include "WindowStyle.h"

#include <QGroupBox>
#include <QImage>
#include <QScrollBar>
#include <QStyleFactory>
#include <memory>

#include "WindowTest.h"

namespace fillstation::test {
namespace {

TEST(ContrastTest, IsThatOfTheWebsGuidelines) {
  EXPECT_DOUBLE_EQ(contrast(Qt::black, Qt::white), 21);
  EXPECT_DOUBLE_EQ(contrast(Qt::white, Qt::black), 21);
  EXPECT_DOUBLE_EQ(contrast(Qt::red, Qt::red), 1);
  EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.005);
  EXPECT_NEAR(contrast(Qt::blue, Qt::white), 8.59, 0.005);
  EXPECT_NEAR(contrast(Qt::red, Qt::white), 4.0, 0.005);
  EXPECT_NEAR(contrast(Qt::green, Qt::black), 15.3, 0.005);
  EXPECT_NEAR(contrast(QColor(10, 10, 10), Qt::black), 1.0607, 0.001);
}

TEST(ContrastTest, AColourIsMixedUntilItCanBeRead) {
  EXPECT_EQ(readable(Qt::blue, Qt::white), QColor(Qt::blue));
  EXPECT_EQ(readable(Qt::yellow, Qt::black), QColor(Qt::yellow));
  EXPECT_EQ(readable(Qt::blue, Qt::black).name(), QStringLiteral("#6666ff"));
  EXPECT_EQ(readable(Qt::yellow, Qt::white).name(), QStringLiteral("#737300"));
  EXPECT_EQ(readable(Qt::black, Qt::black).name(), QStringLiteral("#808080"));
  EXPECT_EQ(readable(Qt::black, Qt::black, kVisibleOutline).name(), QStringLiteral("#666666"));
  // One that needs no mixing keeps its transparency; white is the end of it.
  EXPECT_EQ(readable(QColor(0, 0, 255, 9), Qt::white), QColor(0, 0, 255, 9));
  EXPECT_EQ(readable(Qt::gray, QColor(99, 99, 99), 21), QColor(Qt::white));
}

TEST(ContrastTest, ATextThatMattersLessIsThreeFifthsOfItselfIfThatCanBeRead) {
  EXPECT_EQ(dimmed(Qt::black, Qt::white).name(), QStringLiteral("#666666"));
  EXPECT_EQ(dimmed(Qt::white, Qt::black).name(), QStringLiteral("#999999"));
  EXPECT_GE(contrast(dimmed(Qt::gray, Qt::white), Qt::white), kReadableText);
}

TEST(ContrastTest, AsMuchAsIsAskedForAndLittleMore) {
  for (int shade = 0; shade < 256; ++shade) {
    const QColor ground(shade, shade, shade);
    for (const double least : {kVisibleOutline, kReadableText}) {
      const double reached = contrast(readable(ground, ground, least), ground);
      EXPECT_GE(reached, least) << shade;
      EXPECT_LT(reached, 1.4 * least) << shade;
    }
  }
}

// Grounds of windows and of lists: light, dark, black.
const std::vector<std::pair<QColor, QColor>> kGrounds = {{QColor(239, 239, 239), Qt::white},
                                                         {QColor(53, 53, 53), QColor(30, 30, 30)},
                                                         {Qt::black, Qt::black}};

// The colours of texts and their backgrounds.
const std::vector<std::pair<QPalette::ColorRole, QPalette::ColorRole>> kTexts = {
    {QPalette::WindowText, QPalette::Window},
    {QPalette::Text, QPalette::Base},
    {QPalette::ButtonText, QPalette::Button}};

QPalette paletteOf(const QColor& window, const QColor& base) {
  QPalette palette(window, window);
  palette.setColor(QPalette::Base, base);
  palette.setColor(QPalette::Highlight, Qt::darkBlue);
  palette.setColor(QPalette::HighlightedText, Qt::yellow);
  palette.setColor(QPalette::Text, readable(Qt::gray, base));
  return palette;
}

// A widget's picture on a background of that colour.
QImage drawn(QWidget& widget, const QPalette& palette, const QColor& ground) {
  widget.setPalette(palette);
  QImage image(widget.size(), QImage::Format_RGB32);
  image.fill(ground);
  widget.render(&image, {}, {}, QWidget::DrawChildren);
  return image;
}

// The contrast of the best seen point of a row or column that crosses an outline.
double bestContrast(const QImage& image, const QColor& ground, const QPoint& from,
                    const QPoint& step, int count) {
  double best = 1;
  for (int at = 0; at < count; ++at) {
    best = std::max(best, contrast(image.pixelColor(from + at * step), ground));
  }
  return best;
}

class OutlineTest : public ::testing::TestWithParam<std::pair<QColor, QColor>> {
 protected:
  // Each of the four edges, looked at in its middle.
  void expectOutlined(QWidget& widget, const QColor& ground, int width, int height) {
    widget.resize(width, height);
    const QImage image = drawn(widget, palette, ground);
    const int depth = 4;
    const QPoint edges[][2] = {{{0, height / 2}, {1, 0}},
                               {{width - 1, height / 2}, {-1, 0}},
                               {{width / 2, 0}, {0, 1}},
                               {{width / 2, height - 1}, {0, -1}}};
    for (const auto& edge : edges) {
      // The rounding to 256 shades.
      EXPECT_GE(bestContrast(image, ground, edge[0], edge[1], depth), kVisibleOutline - 0.1)
          << widget.metaObject()->className() << " at " << edge[0].x() << ' ' << edge[0].y();
    }
  }

  const QColor window = GetParam().first;
  const QColor base = GetParam().second;
  const QPalette palette = paletteOf(window, base);
};

TEST_P(OutlineTest, ControlsCanBeSeen) {
  QCheckBox box;
  const int side = box.style()->pixelMetric(QStyle::PM_IndicatorWidth);
  expectOutlined(box, base, side, side);
  QLineEdit field;
  expectOutlined(field, window, 100, 24);
  QComboBox choice;
  choice.setEditable(true);
  expectOutlined(choice, window, 100, 24);
  QPushButton button;
  expectOutlined(button, window, 80, 24);
  QProgressBar bar;
  bar.setValue(0);
  bar.setTextVisible(false);
  expectOutlined(bar, window, 100, 24);
  QScrollArea area;
  expectOutlined(area, window, 100, 100);
}

TEST_P(OutlineTest, AScrollBarCanBeSeen) {
  QScrollBar bar(Qt::Vertical);
  bar.resize(bar.sizeHint().width(), 100);
  const QImage image = drawn(bar, palette, window);
  EXPECT_GE(bestContrast(image, base, {bar.width() / 2, 0}, {0, 1}, 100), kVisibleOutline - 0.1);
}

TEST_P(OutlineTest, DisabledControlsCanBeRead) {
  QPalette polished = palette;
  for (const auto& [text, ground] : kTexts) {
    polished.setColor(QPalette::Disabled, text, polished.color(QPalette::Base));
  }
  QApplication::style()->polish(polished);
  for (const auto& [text, ground] : kTexts) {
    const QColor dimmed = polished.color(QPalette::Disabled, text);
    EXPECT_GE(contrast(dimmed, polished.color(QPalette::Disabled, ground)), kVisibleOutline);
    // Texts that are read during a run have full strength; buttons look disabled.
    EXPECT_EQ(dimmed == polished.color(QPalette::Active, text), text != QPalette::ButtonText);
    EXPECT_EQ(polished.color(QPalette::Active, text), palette.color(QPalette::Active, text));
  }
}

TEST_P(OutlineTest, AGroupLooksLikeFusions) {
  const std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("fusion")));
  WindowStyle ours;
  QGroupBox group(QStringLiteral("Players"));
  group.resize(160, 90);
  group.setStyle(fusion.get());
  const QImage wanted = drawn(group, palette, window);
  group.setStyle(&ours);
  const QImage image = drawn(group, palette, window);
  // Fewer than the line itself stands out by on the light ground.
  constexpr int kShades = 23;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      ASSERT_NEAR(image.pixelColor(x, y).green(), wanted.pixelColor(x, y).green(), kShades)
          << x << ", " << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Every, OutlineTest, ::testing::ValuesIn(kGrounds));

TEST(WindowStyleTest, IsTheDesktopsOwnOrFusion) {
  const auto nameFor = [](const char* chosen) {
    return WindowStyle::nameFor(QLatin1String(chosen)).toStdString();
  };
  EXPECT_EQ(nameFor("breeze"), "breeze");
  EXPECT_EQ(nameFor("fusion"), "fusion");
  EXPECT_EQ(nameFor("windows"), "fusion");
  EXPECT_EQ(nameFor(""), "fusion");
  EXPECT_EQ(WindowStyle().baseStyle()->name(), QStringLiteral("fusion"));
}

TEST(WindowStyleTest, AnotherStyleKeepsItsOutlines) {
  const QPalette palette = paletteOf(Qt::black, Qt::black);
  EXPECT_EQ(WindowStyle(QStringLiteral("windows")).outlined(palette), palette);
  EXPECT_NE(WindowStyle(QStringLiteral("fusion")).outlined(palette), palette);
}

// Fusion keeps what it has drawn, for the palette's key.
TEST(WindowStyleTest, EqualPalettesAreDrawnWithOneAndTheSame) {
  const WindowStyle style;
  const QPalette one = paletteOf(Qt::black, Qt::black);
  const QPalette same = paletteOf(Qt::black, Qt::black);
  ASSERT_NE(one.cacheKey(), same.cacheKey());
  const qint64 key = style.outlined(one).cacheKey();
  EXPECT_EQ(style.outlined(same).cacheKey(), key);
  const auto drawOthers = [&](int count) {
    for (int shade = 1; shade <= count; ++shade) {
      style.outlined(paletteOf(QColor(shade, 0, 0), Qt::black));
    }
  };
  drawOthers(15);
  EXPECT_EQ(style.outlined(one).cacheKey(), key);
  QPalette off = same;
  off.setCurrentColorGroup(QPalette::Disabled);
  EXPECT_EQ(style.outlined(off).currentColorGroup(), QPalette::Disabled);
  drawOthers(16);
  EXPECT_NE(style.outlined(one).cacheKey(), key);
}

TEST(WindowStyleTest, OutlinesStandOutFromEveryGreyInEachGroupOfColours) {
  const WindowStyle style;
  const auto groups = {QPalette::Active, QPalette::Inactive, QPalette::Disabled};
  for (int shade = 0; shade < 256; ++shade) {
    for (const auto group : groups) {
      QPalette palette = paletteOf(Qt::white, Qt::white);
      palette.setColor(group, QPalette::Window, QColor(shade, shade, shade));
      const QPalette outlined = style.outlined(palette);
      for (const auto other : groups) {
        const QColor outline = outlined.color(other, QPalette::Window).darker(140);
        const double reached = contrast(outline, palette.color(other, QPalette::Window));
        EXPECT_GE(reached, kVisibleOutline) << shade;
        EXPECT_LT(reached, 2 * kVisibleOutline) << shade;
      }
    }
  }
}

TEST(WindowStyleTest, DisabledControlsCanBeReadInTheStylesOwnColours) {
  WindowStyle style;
  QPalette palette = style.standardPalette();
  style.polish(palette);
  for (const auto& [text, ground] : kTexts) {
    for (const auto group : {QPalette::Active, QPalette::Disabled}) {
      EXPECT_GE(contrast(palette.color(QPalette::Disabled, text), palette.color(group, ground)),
                kVisibleOutline)
          << text << ' ' << group;
    }
  }
}

// Where in the bar there is a point of that colour: the leftmost and the rightmost, -1 without one.
std::pair<int, int> extentOf(const QImage& image, const QColor& color) {
  std::pair<int, int> found{-1, -1};
  for (int x = 0; x < image.width(); ++x) {
    for (int y = 4; y < image.height() - 4; ++y) {
      if (image.pixelColor(x, y) == color) {
        found = {found.first < 0 ? x : found.first, x};
      }
    }
  }
  return found;
}

QImage barAt(int percent, Qt::LayoutDirection direction) {
  QProgressBar bar;
  bar.setFormat(QString(8, QChar(0x2588)));  // a text that covers the bar's middle
  bar.setLayoutDirection(direction);
  bar.setRange(20, 120);
  bar.setValue(20 + percent);
  bar.resize(200, 24);
  QPalette palette = paletteOf(Qt::white, Qt::white);
  palette.setColor(QPalette::Text, Qt::red);
  return drawn(bar, palette, Qt::white);
}

TEST(WindowStyleTest, TheProgressIsWrittenInTwoColoursWhichMeetAtItsEnd) {
  for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
    const bool mirrored = direction == Qt::RightToLeft;
    const QImage none = barAt(0, direction);
    EXPECT_GE(extentOf(none, Qt::red).first, 0) << "mirrored " << mirrored;
    EXPECT_EQ(extentOf(none, Qt::yellow).first, -1);
    const QImage half = barAt(48, direction);
    const auto done = extentOf(half, Qt::yellow);
    const auto left = extentOf(half, Qt::red);
    const int end = mirrored ? 104 : 96;
    EXPECT_NEAR(mirrored ? done.first : done.second, end, 2);
    EXPECT_NEAR(mirrored ? left.second : left.first, end, 2);
    const QImage all = barAt(100, direction);
    EXPECT_EQ(extentOf(all, Qt::red).first, -1);
    EXPECT_GE(extentOf(all, Qt::yellow).first, 0);
  }
}

TEST(WindowStyleTest, AtTheBeginningNothingIsDone) {
  for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
    QProgressBar bar;
    bar.setTextVisible(false);
    bar.setLayoutDirection(direction);
    bar.setValue(0);
    bar.resize(200, 24);
    const QImage empty = drawn(bar, paletteOf(Qt::white, Qt::white), Qt::white);
    const QRgb middle = empty.pixel(100, 12);
    for (int x = 3; x < 197; ++x) {
      EXPECT_EQ(empty.pixel(x, 12), middle) << x;
    }
    EXPECT_EQ(empty.pixel(1, 12), empty.pixel(198, 12));
  }
}

}  // namespace
}  // namespace fillstation::test
