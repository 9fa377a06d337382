#pragma once

#include <QAbstractTableModel>
#include <atomic>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "FatCheck.h"
#include "TRSongsTVC.h"

namespace fillstation {

// The file list as rows and columns: name, size, path. Texts are plain and of one line. Main
// thread; belongs to its table.
class FileRows : public QAbstractTableModel {
 public:
  enum Column { kName, kSize, kPath };
  // What a root contains, shown after its name.
  static constexpr int kRemarkRole = Qt::UserRole;

  FileRows(std::shared_ptr<TRSongsTVC> songs, std::function<QString()> fileType, QObject* parent);
  ~FileRows() override;

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  // To be called when the list has changed.
  void reload();

 private:
  QString cellText(const QModelIndex& index) const;
  QSize titleSize(int section) const;
  QString tip(const QModelIndex& index) const;
  QString remark(const QModelIndex& index) const;
  QString warning(int row) const;
  void checkForFat();
  void showRefused(const std::vector<FatRefusal>& refused);

  std::shared_ptr<TRSongsTVC> songs_;
  std::function<QString()> fileType_;
  // Made when a root is added: its files are counted once.
  std::map<std::shared_ptr<TRFile>, QString> remarks_;
  std::map<std::size_t, std::vector<FatRefusal>> refused_;  // by row
  std::shared_ptr<std::atomic<bool>> isOutdated_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace fillstation
