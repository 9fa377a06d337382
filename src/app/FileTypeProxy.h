#pragma once

#include <QSortFilterProxyModel>
#include <string>

namespace fillstation {

// Of a file system model, every folder and the files of one type: an extension, compared as the
// file list compares it. Leaves sorting to the model. Main thread; belongs to the open panel.
class FileTypeProxy : public QSortFilterProxyModel {
  Q_OBJECT

 public:
  explicit FileTypeProxy(std::string fileType, QObject* parent = nullptr)
      : QSortFilterProxyModel(parent), fileType_(std::move(fileType)) {}

  // The names as plain text of one line; their other roles are true.
  QVariant data(const QModelIndex& index, int role) const override;

  void sort(int column, Qt::SortOrder order) override;

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

 private:
  std::string fileType_;
};

}  // namespace fillstation
