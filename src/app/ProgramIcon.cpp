#include "ProgramIcon.h"

#include <QPixmap>

namespace fillstation {

QIcon programIcon() {
  const QIcon themed = QIcon::fromTheme(QStringLiteral("fillstation"));
  if (!themed.availableSizes().isEmpty()) {
    return themed;
  }
  QIcon own;
  // Read at every start, before the window: no larger ones than a window shows, and without a
  // search for who can read them.
  for (const int size : {16, 24, 32, 48, 64}) {
    own.addPixmap(QPixmap(QStringLiteral(":/icons/%1.png").arg(size), "png"));
  }
  return own;
}

}  // namespace fillstation
