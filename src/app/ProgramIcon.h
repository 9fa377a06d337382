#pragma once

#include <QIcon>
#include <QPixmap>

namespace fillstation {

// The program's icon: the one of the desktop's theme, or the pictures within the program where that
// has none, as in a build folder, no larger ones than a window's title or a list of windows shows.
// Main thread, once there is an application, like all of these.
QIcon programIcon();

// The picture within the program, of so many pixels a side on a screen of a density of 1, with the
// pixels that the density asks for.
QPixmap programPicture(int side, qreal density);

}  // namespace fillstation
