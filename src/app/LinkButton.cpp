#include "LinkButton.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>

#include "Contrast.h"

namespace fillstation {
namespace {

constexpr int kMargin = 4;

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
