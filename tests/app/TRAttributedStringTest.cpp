#include "TRAttributedString.h"

#include <gtest/gtest.h>

#include <QColor>
#include <stdexcept>

namespace fillstation {
namespace {

using Text = TRAttributedString;

TEST(TRAttributedString, BeginsWithoutAttributes) {
  const Text text(QStringLiteral("ab"));
  EXPECT_EQ(text.text(), QStringLiteral("ab"));
  EXPECT_EQ(text.length(), 2);
  EXPECT_TRUE(text.attributesAt(0).isEmpty());
  EXPECT_TRUE(text.attributesAt(1).isEmpty());
}

TEST(TRAttributedString, AddsAnAttributeToExactlyItsRange) {
  Text text(QStringLiteral("abcd"));
  text.addAttribute(Text::kUnderlineStyle, 1, 1, 2);
  EXPECT_TRUE(text.attributesAt(0).isEmpty());
  EXPECT_EQ(text.attributesAt(1).value(Text::kUnderlineStyle), QVariant(1));
  EXPECT_EQ(text.attributesAt(2).value(Text::kUnderlineStyle), QVariant(1));
  EXPECT_TRUE(text.attributesAt(3).isEmpty());
}

TEST(TRAttributedString, ReplacesAnAttributeAndKeepsTheOthers) {
  Text text(QStringLiteral("a"));
  text.addAttribute(Text::kUnderlineStyle, 1, 0, 1);
  text.addAttribute(Text::kLink, QStringLiteral("x"), 0, 1);
  text.addAttribute(Text::kUnderlineStyle, 2, 0, 1);
  EXPECT_EQ(text.attributesAt(0).value(Text::kUnderlineStyle), QVariant(2));
  EXPECT_EQ(text.attributesAt(0).value(Text::kLink), QVariant(QStringLiteral("x")));
}

TEST(TRAttributedString, RefusesARangeBeyondTheText) {
  Text text(QStringLiteral("ab"));
  EXPECT_THROW(text.addAttribute(Text::kLink, 1, 1, 2), std::out_of_range);
  EXPECT_THROW(static_cast<void>(text.attributesAt(2)), std::out_of_range);
}

TEST(TRAttributedString, DressesALinkOverItsWholeLength) {
  const Text link = Text::hyperlinkFromString(QStringLiteral("Home page"),
                                              Url::withString("https://a.example/%20b"));
  EXPECT_EQ(link.text(), QStringLiteral("Home page"));
  for (qsizetype at = 0; at < link.length(); ++at) {
    EXPECT_EQ(link.attributesAt(at),
              (Text::Attributes{{Text::kLink, QStringLiteral("https://a.example/%20b")},
                                {Text::kForegroundColor, QColor(Qt::blue)},
                                {Text::kUnderlineStyle, 1}}));
  }
}

TEST(TRAttributedString, MakesAnEmptyTextOfAnEmptyString) {
  const Text link = Text::hyperlinkFromString(QString(), Url::withString("https://a.example/"));
  EXPECT_EQ(link, Text());
  EXPECT_EQ(link.length(), 0);
}

}  // namespace
}  // namespace fillstation
