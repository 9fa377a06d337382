#include "DisplayText.h"

#include <gtest/gtest.h>

#include <QTextDocument>

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

TEST(DisplayText, DisarmsEverythingThatTurnsTheDirection) {
  for (const char32_t mark :
       {0x061CU, 0x200EU, 0x200FU, 0x202AU, 0x202BU, 0x202EU, 0x2066U, 0x2069U}) {
    const QString one = QString::fromUcs4(&mark, 1);
    EXPECT_EQ(displayText(std::string_view(one.toStdString())), text(u"\uFFFD"))
        << static_cast<unsigned>(mark);
  }
}

TEST(DisplayText, LeavesTheNeighboursOfDirectionMarksAlone) {
  for (const char32_t mark :
       {0x061BU, 0x061DU, 0x200DU, 0x2010U, 0x2027U, 0x202FU, 0x2065U, 0x206AU}) {
    const QString one = QString::fromUcs4(&mark, 1);
    EXPECT_EQ(displayText(std::string_view(one.toStdString())), one) << static_cast<unsigned>(mark);
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
  EXPECT_EQ(document.toPlainText().remove(QChar(0x200B)), evil);
}

TEST(DisplayText, ToolTipsMayBreakAfterSlashesAndFortyCharacters) {
  const auto shown = [](const QString& whole) {
    QTextDocument document;
    document.setHtml(toolTipText(whole));
    return document.toPlainText().replace(QChar(0x200B), QLatin1Char('|'));
  };
  const QString forty(40, QLatin1Char('x'));
  EXPECT_EQ(shown(text(u"/a/b")), text(u"/|a/|b"));
  EXPECT_EQ(shown(forty), forty);
  EXPECT_EQ(shown(forty + forty + text(u"y")), forty + text(u"|") + forty + text(u"|y"));
  EXPECT_EQ(shown(text(u"aa/") + forty), text(u"aa/|") + forty);
  const QString note = text(u"🎵");
  EXPECT_EQ(shown(forty.mid(1) + note + note), forty.mid(1) + note + text(u"|") + note);
}

}  // namespace
}  // namespace fillstation
