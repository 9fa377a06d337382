#pragma once

#include <QList>
#include <QWidget>

namespace fillstation::test {

// The controls of a window that can be seen, but for those inside a list, a table or a box.
QList<QWidget*> controlsOf(const QWidget& window);

// Where a control is in its window.
QRect placeOf(const QWidget& control);

// Every control lies within its window, has room for its text, and covers no other one.
void expectRoomForEverything(const QWidget& window);

}  // namespace fillstation::test
