#pragma once

#include <QPalette>
#include <QSize>
#include <iosfwd>
#include <string>
#include <vector>

#include "DarkColours.h"

namespace fillstation::test {

// One way in which the desktop can want the window, and how full it is.
struct Look {
  std::string name;
  QPalette colours;
  Qt::LayoutDirection direction;
  QSize size;  // of the window, before the desktop's scaling
  int players;
  bool longNames;
};

QPalette lightColours();
// Black, white and yellow, as for those who see badly.
QPalette strongColours();

// For GoogleTest's messages.
void PrintTo(const Look& look, std::ostream* stream);

// Those that every state of the window is looked at in.
std::vector<Look> looks();

}  // namespace fillstation::test
