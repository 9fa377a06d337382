#pragma once

#include <QAbstractTableModel>
#include <memory>

#include "TRSongsTVC.h"

namespace fillstation {

// The file list as the table's rows and columns: name, size, path. Main thread; belongs to the
// table and holds the list.
class FileTableModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { kName, kSize, kPath };

  explicit FileTableModel(std::shared_ptr<TRSongsTVC> songs, QObject* parent = nullptr);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  // Texts are plain and of one line. The tool tip of a file root says that it can't be copied.
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // To be called when the list has changed.
  void reload();

 private:
  QString cellText(const QModelIndex& index) const;
  QString tip(const QModelIndex& index) const;

  std::shared_ptr<TRSongsTVC> songs_;
};

}  // namespace fillstation
