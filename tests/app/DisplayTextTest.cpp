#include "DisplayText.h"

#include <gtest/gtest.h>

#include <QTextDocument>
#include <limits>

namespace fillstation {
namespace {

using namespace std::string_view_literals;

QString text(std::u16string_view units) {
  return QString::fromUtf16(units.data(), static_cast<qsizetype>(units.size()));
}

TEST(DisplayText, KeepsOrdinaryTextAndShowsTheRestAsReplacements) {
  EXPECT_EQ(displayText("M\xC3\xA4rchen <b>& \xF0\x9F\x8E\xB5"sv), text(u"Märchen <b>& 🎵"));
  EXPECT_EQ(displayText("a\xFF"
                        "b"sv),
            text(u"a\uFFFDb"));
  EXPECT_EQ(displayText("\0a\n\t\x1F b\x7F\xC2\x80\xC2\x9F\xC2\xA0~"sv),
            text(u"\uFFFDa\uFFFD\uFFFD\uFFFD b\uFFFD\uFFFD\uFFFD\u00A0~"));
  EXPECT_EQ(displayText("\xE2\x80\xA8\xE2\x80\xA9"sv), text(u"\uFFFD\uFFFD"));
  EXPECT_EQ(displayText(std::optional<std::string>()), QString());
  EXPECT_EQ(displayText(std::optional<std::string>("a")), text(u"a"));
}

TEST(DisplayText, DisarmsEverythingThatTurnsTheDirectionAndNoNeighbourOfIt) {
  const std::u32string marks = U"\u061C\u200E\u200F\u202A\u202B\u202E\u2066\u2069";
  const std::u32string neighbours = U"\u061B\u061D\u200D\u2010\u2027\u202F\u2065\u206A";
  for (const char32_t unit : marks + neighbours) {
    const QString one = QString::fromUcs4(&unit, 1);
    const bool isMark = marks.find(unit) != std::u32string::npos;
    EXPECT_EQ(displayText(std::string_view(one.toStdString())), isMark ? text(u"\uFFFD") : one)
        << static_cast<unsigned>(unit);
  }
}

TEST(DisplayText, IsPaintedInItsOwnDirectionAndWithoutMnemonics) {
  EXPECT_EQ(isolated(text(u"/dev/sdb")), text(u"\u2068/dev/sdb\u2069"));
  EXPECT_EQ(withoutMnemonics(text(u"&A && B")), text(u"&&A &&&& B"));
}

TEST(DisplayText, ToolTipsAreNeverReadAsMarkup) {
  const QString evil = text(u"<b>x</b> & <img src='a'>  y");
  const QString tip = toolTipText(evil);
  EXPECT_TRUE(Qt::mightBeRichText(tip));
  QTextDocument document;
  document.setHtml(tip);
  EXPECT_EQ(document.toPlainText().remove(QLatin1Char('\n')), evil);
}

TEST(DisplayText, ToolTipsBreakAfterSlashesPastFortyCharactersAndAtSixty) {
  const auto shown = [](const QString& whole) {
    QTextDocument document;
    document.setHtml(toolTipText(whole));
    return document.toPlainText().replace(QLatin1Char('\n'), QLatin1Char('|'));
  };
  const QString sixty(60, QLatin1Char('x'));
  EXPECT_EQ(shown(text(u"/a/b")), text(u"/a/b"));
  EXPECT_EQ(shown(sixty), sixty);
  EXPECT_EQ(shown(sixty + sixty + text(u"y")), sixty + text(u"|") + sixty + text(u"|y"));
  EXPECT_EQ(shown(sixty.mid(22) + text(u"/") + sixty),
            sixty.mid(22) + text(u"/") + sixty.mid(39) + text(u"|") + sixty.mid(21));
  EXPECT_EQ(shown(sixty.mid(21) + text(u"/") + sixty), sixty.mid(21) + text(u"/|") + sixty);
  EXPECT_EQ(shown(text(u"a\n") + sixty), text(u"a|") + sixty);
  const QString note = text(u"🎵");
  EXPECT_EQ(shown(sixty.mid(1) + note + note), sixty.mid(1) + note + text(u"|") + note);
}

constexpr std::int64_t kMega = 1024 * 1024;
constexpr auto kMost = std::numeric_limits<std::int64_t>::max();

struct SizeCase {
  std::int64_t bytes;
  const char* text;
};

TEST(SizeText, ACapacityIsInMegabytesFromOneUpAndTruncated) {
  for (const auto& [bytes, shown] : {
           SizeCase{0, "0 KB"},
           {1023, "0 KB"},
           {1024, "1 KB"},
           {kMega - 1, "1023 KB"},
           {kMega, "1 MB"},
           {2 * kMega - 1, "1 MB"},
           {7948206080, "7580 MB"},
           // In double precision: single precision rounds the first two up to the next megabyte,
           // integers the last one down.
           {4294967295, "4095 MB"},
           {34359738367, "32767 MB"},
           {kMost, "8796093022208 MB"},
           // Kilobytes keep their sign; the sentinel is rounded to zero.
           {-1, "0 KB"},
           {-5000, "-4 KB"},
       }) {
    EXPECT_EQ(capacityText(bytes), QLatin1String(shown)) << bytes;
  }
}

TEST(SizeText, ANegativeSpaceIsUnsignedAndADifferenceWraps) {
  for (const auto& [bytes, shown] : {
           SizeCase{kMega - 1, "1023 KB"},
           {kMega, "1 MB"},
           {-5000, "18446744073709551612 KB"},
           {-kMega, "18446744073709551615 MB"},
           {-10485760, "18446744073709551606 MB"},
           {-kMost, "18446735277616529408 MB"},
       }) {
    EXPECT_EQ(spaceLeftText(0, -bytes), QLatin1String(shown)) << bytes;
  }
  EXPECT_EQ(spaceLeftText(3 * kMega, kMega), text(u"2 MB"));
  EXPECT_EQ(spaceLeftText(kMost, -1), text(u"18446735277616529408 MB"));
}

TEST(SizeText, AFilesSizeIsReadable) {
  for (const auto& [bytes, shown] : {
           SizeCase{0, "0 bytes"},
           {1023, "1023 bytes"},
           {1024, "1 KB"},
           {kMega - 1, "1023 KB"},
           {kMega, "1.0 MB"},
           {4404020, "4.2 MB"},
           {4404019, "4.1 MB"},
           {10 * kMega - 1, "9.9 MB"},
           {10 * kMega, "10 MB"},
           {7948206080, "7580 MB"},
       }) {
    EXPECT_EQ(fileSizeText(bytes), QLatin1String(shown)) << bytes;
  }
}

}  // namespace
}  // namespace fillstation
