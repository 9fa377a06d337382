#include "Layout.h"

#include <gtest/gtest.h>

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>

#include "BusyIndicator.h"

namespace fillstation::test {
namespace {

bool isControl(const QWidget* widget) {
  return qobject_cast<const QAbstractScrollArea*>(widget) != nullptr ||
         qobject_cast<const QComboBox*>(widget) != nullptr ||
         qobject_cast<const QLabel*>(widget) != nullptr ||
         qobject_cast<const QLineEdit*>(widget) != nullptr ||
         qobject_cast<const QProgressBar*>(widget) != nullptr ||
         qobject_cast<const QPushButton*>(widget) != nullptr ||
         qobject_cast<const BusyIndicator*>(widget) != nullptr;
}

bool isInsideControl(const QWidget* widget, const QWidget* window) {
  for (const QWidget* at = widget->parentWidget(); at != window; at = at->parentWidget()) {
    if (isControl(at)) {
      return true;
    }
  }
  return false;
}

std::string nameOf(const QWidget* widget) {
  return (widget->objectName() + QLatin1Char(' ') + widget->metaObject()->className())
      .toStdString();
}

}  // namespace

QList<QWidget*> controlsOf(const QWidget& window) {
  QList<QWidget*> controls;
  for (auto* widget : window.findChildren<QWidget*>()) {
    if (widget->window() == &window && widget->isVisible() && isControl(widget) &&
        !isInsideControl(widget, &window)) {
      controls.append(widget);
    }
  }
  return controls;
}

QRect placeOf(const QWidget& control) {
  return {control.mapTo(control.window(), QPoint()), control.size()};
}

void expectRoomForEverything(const QWidget& window) {
  const auto controls = controlsOf(window);
  EXPECT_GE(controls.size(), 2);
  for (const QWidget* one : controls) {
    EXPECT_TRUE(window.rect().contains(placeOf(*one))) << nameOf(one);
    EXPECT_GE(one->width(), one->minimumSizeHint().width()) << nameOf(one);
    EXPECT_GE(one->height(), one->minimumSizeHint().height()) << nameOf(one);
    for (const QWidget* other : controls) {
      EXPECT_TRUE(one == other || !placeOf(*one).intersects(placeOf(*other)))
          << nameOf(one) << " and " << nameOf(other);
    }
  }
}

}  // namespace fillstation::test
