#include "FocusRing.h"

#include <QApplication>
#include <QPainter>
#include <QPointer>

#include "Contrast.h"

namespace fillstation {
namespace {

constexpr int kWidth = 2;  // as much as the frame reaches beyond the control

}  // namespace

void FocusRing::followFocus(QObject* owner) {
  QObject::connect(qApp, &QApplication::focusChanged, owner,
                   [ring = QPointer<FocusRing>()](QWidget* /*old*/, QWidget* now) mutable {
                     delete ring;
                     if (now != nullptr) {
                       ring = new FocusRing(now);
                     }
                   });
}

FocusRing::FocusRing(QWidget* around) : QFocusFrame(around) { setWidget(around); }

void FocusRing::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const QColor color = readable(palette().color(QPalette::Highlight),
                                palette().color(QPalette::Window), kVisibleOutline);
  QPen pen(color, kWidth);
  pen.setJoinStyle(Qt::MiterJoin);
  painter.setPen(pen);
  painter.drawRect(rect().adjusted(kWidth / 2, kWidth / 2, -kWidth / 2, -kWidth / 2));
}

}  // namespace fillstation
