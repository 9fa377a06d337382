#include "ProgramIcon.h"

#include <QPixmap>

namespace fillstation {

QIcon programIcon(int largest) {
  const QIcon themed = QIcon::fromTheme(QStringLiteral("fillstation"));
  if (!themed.availableSizes().isEmpty()) {
    return themed;
  }
  QIcon own;
  for (const int side : {16, 24, 32, 48, 64, 128, kLargestIconSide}) {
    if (side <= largest) {
      // With the format, since a start waits for this: nobody is asked who can read the picture.
      own.addPixmap(QPixmap(QStringLiteral(":/icons/%1.png").arg(side), "png"));
    }
  }
  return own;
}

}  // namespace fillstation
