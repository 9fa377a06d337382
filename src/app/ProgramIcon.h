#pragma once

#include <QIcon>

namespace fillstation {

// The program's icon: the one of the desktop's theme, or the pictures within the program where that
// has none, as in a build folder. Main thread, once there is an application.
QIcon programIcon();

}  // namespace fillstation
