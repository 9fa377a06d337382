#include "Elided.h"

#include <QPainter>
#include <QStyleOptionButton>
#include <QStylePainter>

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

ElidedTick::ElidedTick(QWidget* parent) : QCheckBox(parent) {
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void ElidedTick::setWholeText(const QString& text) {
  wholeText_ = text;
  setText(withoutMnemonics(text));
  setToolTip(toolTipText(text));
}

QString ElidedTick::shownText() const {
  return fontMetrics().elidedText(wholeText_, Qt::ElideMiddle, width() - textIndent());
}

int ElidedTick::textIndent() const {
  QStyleOptionButton option;
  option.initFrom(this);
  option.direction = Qt::LeftToRight;
  return style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this).x();
}

QSize ElidedTick::minimumSizeHint() const {
  return {textIndent(), QCheckBox::minimumSizeHint().height()};
}

void ElidedTick::paintEvent(QPaintEvent* /*event*/) {
  QStylePainter painter(this);
  QStyleOptionButton option;
  initStyleOption(&option);
  option.text = isolated(withoutMnemonics(shownText()));
  painter.drawControl(QStyle::CE_CheckBox, option);
}

}  // namespace fillstation
