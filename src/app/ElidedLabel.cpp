#include "ElidedLabel.h"

#include <QPainter>
#include <QStyle>

#include "DisplayText.h"

namespace fillstation {

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setIndent(0);
}

void ElidedLabel::setWholeText(const QString& text) {
  setText(text);
  setToolTip(toolTipText(text));
  setAccessibleDescription(text);  // instead of the tool tip, which has marks for line breaks in it
}

QString ElidedLabel::shownText() const {
  return fontMetrics().elidedText(text(), Qt::ElideMiddle, textRect().width());
}

QRect ElidedLabel::textRect() const {
  return QStyle::visualRect(layoutDirection(), rect(), rect().adjusted(indent(), 0, 0, 0));
}

QSize ElidedLabel::minimumSizeHint() const { return {0, QLabel::minimumSizeHint().height()}; }

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  style()->drawItemText(&painter, textRect(), Qt::AlignLeft | Qt::AlignVCenter, palette(),
                        isEnabled(), isolated(shownText()), foregroundRole());
}

}  // namespace fillstation
