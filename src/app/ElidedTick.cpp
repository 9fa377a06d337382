#include "ElidedTick.h"

#include <QStyleOptionButton>
#include <QStylePainter>

#include "DisplayText.h"

namespace fillstation {

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
