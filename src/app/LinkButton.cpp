#include "LinkButton.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QTextLayout>

#include "WindowStyle.h"

namespace fillstation {
namespace {

constexpr int kMargin = 4;

}  // namespace

LinkButton::LinkButton(QWidget* parent) : QPushButton(parent) {
  setCursor(Qt::PointingHandCursor);
  setFlat(true);
  setFocusPolicy(Qt::TabFocus);  // after a click the Space bar belongs to whatever it worked before
}

void LinkButton::setAttributedTitle(const TRAttributedString& title) {
  attributes_ = title.attributes;
  setText(title.text);
  update();
}

QSize LinkButton::sizeHint() const {
  const QFontMetrics metrics(font());
  return {metrics.horizontalAdvance(text()) + 2 * kMargin, metrics.height() + 2 * kMargin};
}

QTextCharFormat LinkButton::paintedFormat() const {
  QTextCharFormat format;
  format.setFontUnderline(attributes_.fontUnderline());
  format.setForeground(
      attributes_.hasProperty(QTextFormat::ForegroundBrush)
          ? readable(attributes_.foreground().color(), palette().color(QPalette::Window))
          : palette().color(QPalette::ButtonText));
  return format;
}

void LinkButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  QTextLayout layout(text(), font());
  layout.setFormats({{0, static_cast<int>(text().size()), paintedFormat()}});
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
