#include "Contrast.h"

#include <cmath>

namespace fillstation {
namespace {

double linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

}  // namespace

double contrast(const QColor& one, const QColor& other) {
  const double first = luminance(one) + 0.05;
  const double second = luminance(other) + 0.05;
  return first > second ? first / second : second / first;
}

QColor readable(const QColor& color, const QColor& ground, double least) {
  const QColor goal =
      contrast(Qt::white, ground) > contrast(Qt::black, ground) ? Qt::white : Qt::black;
  const auto mixed = [&](double share) {
    const auto part = [share](float from, float to) {
      return static_cast<float>(from + (to - from) * share);
    };
    // In the 256 shades of the screen, so that what is asked for is what is seen.
    return QColor(QColor::fromRgbF(part(color.redF(), goal.redF()),
                                   part(color.greenF(), goal.greenF()),
                                   part(color.blueF(), goal.blueF()))
                      .rgb());
  };
  double share = 0;
  while (share < 1 && contrast(mixed(share), ground) < least) {
    share += 0.05;
  }
  return share > 0 ? mixed(share) : color;
}

}  // namespace fillstation
