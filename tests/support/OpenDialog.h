#pragma once

#include <QApplication>
#include <QWidget>

namespace fillstation::test {

// The dialog of that kind that is open; null while none is. Main thread.
template <class Dialog>
Dialog* openDialog() {
  for (QWidget* widget : QApplication::topLevelWidgets()) {
    auto* const dialog = qobject_cast<Dialog*>(widget);
    if (dialog != nullptr && dialog->isVisible()) {
      return dialog;
    }
  }
  return nullptr;
}

}  // namespace fillstation::test
