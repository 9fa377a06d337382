#include "LinkButton.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <cmath>

namespace fillstation {
namespace {

constexpr int kMargin = 4;
constexpr double kReadableContrast = 4.5;

double linear(double channel) {
  return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor& color) {
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
         0.0722 * linear(color.blueF());
}

double contrast(const QColor& one, const QColor& other) {
  const double first = luminance(one) + 0.05;
  const double second = luminance(other) + 0.05;
  return first > second ? first / second : second / first;
}

}  // namespace

LinkButton::LinkButton(QWidget* parent) : QPushButton(parent) {
  setCursor(Qt::PointingHandCursor);
  setFlat(true);
  setFocusPolicy(Qt::TabFocus);  // after a click the Space bar belongs to whatever it worked before
}

TRAttributedString LinkButton::attributedTitle() const {
  return title_.length() > 0 ? title_ : TRAttributedString(text());
}

void LinkButton::setAttributedTitle(const TRAttributedString& title) {
  title_ = title;
  setText(title.text());
  update();
}

QSize LinkButton::sizeHint() const {
  const QFontMetrics metrics(font());
  return {metrics.horizontalAdvance(text()) + 2 * kMargin, metrics.height() + 2 * kMargin};
}

QColor LinkButton::readable(const QColor& color, const QColor& background) {
  const QColor goal = luminance(background) < 0.5 ? QColor(Qt::white) : QColor(Qt::black);
  const auto mixed = [&](double share) {
    const auto part = [share](float from, float to) {
      return static_cast<float>(from + (to - from) * share);
    };
    return QColor::fromRgbF(part(color.redF(), goal.redF()), part(color.greenF(), goal.greenF()),
                            part(color.blueF(), goal.blueF()));
  };
  double share = 0;
  while (share < 1 && contrast(mixed(share), background) < kReadableContrast) {
    share += 0.05;
  }
  return share > 0 ? mixed(share) : color;
}

QList<QTextLayout::FormatRange> LinkButton::formats() const {
  const TRAttributedString title = attributedTitle();
  QList<QTextLayout::FormatRange> ranges;
  for (qsizetype at = 0; at < title.length(); ++at) {
    const auto& attributes = title.attributesAt(at);
    if (at > 0 && attributes == title.attributesAt(at - 1)) {
      ++ranges.back().length;
      continue;
    }
    QTextCharFormat format;
    format.setFontUnderline(attributes.value(TRAttributedString::kUnderlineStyle).toInt() != 0);
    const auto color = attributes.value(TRAttributedString::kForegroundColor).value<QColor>();
    format.setForeground(color.isValid() ? readable(color, palette().color(QPalette::Window))
                                         : palette().color(QPalette::ButtonText));
    ranges.append({static_cast<int>(at), 1, format});
  }
  return ranges;
}

void LinkButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  QTextLayout layout(text(), font());
  layout.setFormats(formats());
  layout.beginLayout();
  layout.createLine();
  layout.endLayout();
  layout.draw(&painter, QPointF(kMargin, (height() - layout.boundingRect().height()) / 2));
  if (hasFocus()) {
    QStyleOptionFocusRect option;
    option.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, &painter, this);
  }
}

}  // namespace fillstation
