#include "Look.h"

#include <ostream>

namespace fillstation::test {
namespace {

constexpr QSize kUsual(1000, 620);
constexpr QSize kSmallest(720, 480);
constexpr QSize kLarge(1400, 900);

}  // namespace

QPalette lightColours() {
  QPalette colours(QColor(239, 239, 239), QColor(239, 239, 239));
  colours.setColor(QPalette::Base, Qt::white);
  colours.setColor(QPalette::AlternateBase, QColor(247, 247, 247));
  colours.setColor(QPalette::Highlight, QColor(48, 140, 198));
  colours.setColor(QPalette::HighlightedText, Qt::white);
  setDisabledText(colours, QColor(190, 190, 190));
  return colours;
}

QPalette strongColours() {
  QPalette colours(Qt::white, Qt::black, Qt::white, Qt::gray, Qt::lightGray, Qt::white, Qt::white,
                   Qt::black, Qt::black);
  colours.setColor(QPalette::AlternateBase, QColor(25, 25, 25));
  colours.setColor(QPalette::Highlight, Qt::yellow);
  colours.setColor(QPalette::HighlightedText, Qt::black);
  setDisabledText(colours, QColor(160, 160, 160));
  return colours;
}

void PrintTo(const Look& look, std::ostream* stream) { *stream << look.name; }

std::vector<Look> looks() {
  const auto light = lightColours();
  const auto dark = darkColours();
  const auto strong = strongColours();
  return {
      {"Light", light, Qt::LeftToRight, kUsual, 4, false},
      {"Smallest", light, Qt::LeftToRight, kSmallest, 4, false},
      {"Large", light, Qt::LeftToRight, kLarge, 4, false},
      {"Empty", light, Qt::LeftToRight, kSmallest, 0, false},
      {"Dark", dark, Qt::LeftToRight, kUsual, 4, false},
      {"DarkSmallest", dark, Qt::LeftToRight, kSmallest, 60, true},
      {"Strong", strong, Qt::LeftToRight, kUsual, 4, false},
      {"StrongReversed", strong, Qt::RightToLeft, kSmallest, 60, true},
      {"Reversed", light, Qt::RightToLeft, kUsual, 4, false},
      {"ReversedSmallest", light, Qt::RightToLeft, kSmallest, 60, true},
      {"Sixty", light, Qt::LeftToRight, kUsual, 60, false},
      {"SixtyLong", light, Qt::LeftToRight, kSmallest, 60, true},
      {"SixtyLongLarge", light, Qt::LeftToRight, kLarge, 60, true},
  };
}

}  // namespace fillstation::test
