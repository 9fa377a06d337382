#include "FileTypeProxy.h"

#include <QFileSystemModel>

#include "DisplayText.h"
#include "TRFile.h"

namespace fillstation {

void FileTypeProxy::sort(int column, Qt::SortOrder order) { sourceModel()->sort(column, order); }

QVariant FileTypeProxy::data(const QModelIndex& index, int role) const {
  QVariant value = QSortFilterProxyModel::data(index, role);
  if (role != Qt::DisplayRole || index.column() != 0) {
    return value;
  }
  return displayText(std::string_view(value.toString().toStdString()));
}

bool FileTypeProxy::filterAcceptsRow(int row, const QModelIndex& parent) const {
  const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
  const QModelIndex index = files->index(row, 0, parent);
  return files->isDir(index) ||
         matchesFileType(QFile::encodeName(files->filePath(index)).toStdString(), fileType_);
}

}  // namespace fillstation
