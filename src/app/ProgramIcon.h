#pragma once

#include <QIcon>

namespace fillstation {

// The sides of the largest picture that a window's title or the list of windows shows, and of the
// largest one within the program.
inline constexpr int kWindowIconSide = 64;
inline constexpr int kLargestIconSide = 256;

// The program's icon: the one of the desktop's theme, or the pictures within the program where that
// has none, as in a build folder; they are read now, those of up to so many pixels a side. Main
// thread, once there is an application.
QIcon programIcon(int largest = kWindowIconSide);

}  // namespace fillstation
