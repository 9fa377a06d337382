#include "ProgramIcon.h"

namespace fillstation {

QIcon programIcon() {
  QIcon own;
  for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
    own.addFile(QStringLiteral(":/icons/%1.png").arg(size), {size, size});
  }
  return QIcon::fromTheme(QStringLiteral("fillstation"), own);
}

}  // namespace fillstation
