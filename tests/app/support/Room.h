#pragma once

#include <gtest/gtest.h>

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <string>

#include "BusyIndicator.h"
#include "PlayersView.h"

namespace fillstation::test {

template <class... Kinds>
bool isOneOf(const QWidget* widget) {
  return ((qobject_cast<const Kinds*>(widget) != nullptr) || ...);
}

inline bool isControl(const QWidget* widget) {
  return isOneOf<QAbstractScrollArea, QComboBox, QLabel, QLineEdit, QProgressBar, QPushButton,
                 BusyIndicator>(widget);
}

inline bool isInsideControl(const QWidget* widget, const QWidget* window) {
  for (const QWidget* at = widget->parentWidget(); at != window; at = at->parentWidget()) {
    if (isControl(at)) {
      return true;
    }
  }
  return false;
}

inline std::string nameOf(const QWidget* widget) {
  return (widget->objectName() + QLatin1Char(' ') + widget->metaObject()->className())
      .toStdString();
}

// The controls of a window that can be seen, but for those inside a list, a table or a box.
inline QList<QWidget*> controlsOf(const QWidget& window) {
  QList<QWidget*> controls;
  for (auto* widget : window.findChildren<QWidget*>()) {
    if (widget->window() == &window && widget->isVisible() && isControl(widget) &&
        !isInsideControl(widget, &window)) {
      controls.append(widget);
    }
  }
  return controls;
}

// Where a control is in its window.
inline QRect placeOf(const QWidget& control) {
  return {control.mapTo(control.window(), QPoint()), control.size()};
}

// The texts that no size hint of a control in sight asks room for.
inline void expectWholeTexts(const QWidget& window) {
  for (const auto* bar : window.findChildren<QProgressBar*>()) {
    EXPECT_TRUE(!bar->isTextVisible() ||
                bar->fontMetrics().horizontalAdvance(bar->text()) < bar->width())
        << bar->text().toStdString();
  }
  for (const auto* box : window.findChildren<QGroupBox*>()) {
    EXPECT_LT(box->fontMetrics().horizontalAdvance(box->title()), box->width());
  }
  for (const auto* label : window.findChildren<QLabel*>()) {
    const bool fits = label->wordWrap() ? label->height() >= label->heightForWidth(label->width())
                                        : label->width() >= label->sizeHint().width();
    EXPECT_TRUE(!label->isVisible() || isOneOf<ElidedLabel>(label) || fits)
        << label->text().toStdString();
  }
  for (const auto* header : window.findChildren<QHeaderView*>()) {
    for (int section = 0; header->isVisible() && section < header->count(); ++section) {
      EXPECT_GE(header->sectionSize(section), header->sectionSizeHint(section)) << section;
    }
  }
}

// Every control lies within its window, has room for its text, and covers no other one.
inline void expectRoomForEverything(const QWidget& window) {
  const auto controls = controlsOf(window);
  EXPECT_GE(controls.size(), 2);
  expectWholeTexts(window);
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
