#include "ProgramIcon.h"

namespace fillstation {
namespace {

constexpr int kLargest = 256;

// With its format, since a start waits for this: nobody is asked who can read the picture.
QPixmap pictureWithin(int side) {
  return QPixmap(QStringLiteral(":/icons/%1.png").arg(side), "png");
}

}  // namespace

QIcon programIcon() {
  QIcon themed = QIcon::fromTheme(QStringLiteral("fillstation"));
  if (!themed.availableSizes().isEmpty()) {
    return themed;
  }
  QIcon own;
  for (const int side : {16, 24, 32, 48, 64}) {
    own.addPixmap(pictureWithin(side));
  }
  return own;
}

QPixmap programPicture(int side, qreal density) {
  const int pixels = qRound(side * density);
  QPixmap picture =
      pictureWithin(kLargest).scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  picture.setDevicePixelRatio(density);
  return picture;
}

}  // namespace fillstation
