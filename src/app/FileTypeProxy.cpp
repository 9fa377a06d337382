#include "FileTypeProxy.h"

#include <QFileSystemModel>

#include "TRFile.h"

namespace fillstation {

void FileTypeProxy::sort(int column, Qt::SortOrder order) { sourceModel()->sort(column, order); }

bool FileTypeProxy::filterAcceptsRow(int row, const QModelIndex& parent) const {
  const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
  const QModelIndex index = files->index(row, 0, parent);
  return files->isDir(index) ||
         matchesFileType(QFile::encodeName(files->filePath(index)).toStdString(), fileType_);
}

}  // namespace fillstation
