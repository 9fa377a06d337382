#pragma once

#include <QPalette>

namespace fillstation {

// The colour of every text that is switched off. Any thread.
inline void setDisabledText(QPalette& colours, const QColor& color) {
  for (const auto role : {QPalette::WindowText, QPalette::ButtonText, QPalette::Text}) {
    colours.setColor(QPalette::Disabled, role, color);
  }
}

// The colours of a dark desktop, for programs that show or check a window; its links have Qt's own
// blue. Any thread.
inline QPalette darkColours() {
  QPalette colours(QColor(66, 66, 66), QColor(53, 53, 53));
  colours.setColor(QPalette::Base, QColor(30, 30, 30));
  colours.setColor(QPalette::AlternateBase, QColor(38, 38, 38));
  colours.setColor(QPalette::Highlight, QColor(42, 130, 218));
  setDisabledText(colours, QColor(130, 130, 130));
  return colours;
}

}  // namespace fillstation
