#pragma once

#include <QTableView>
#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <vector>

#include "TRSongsTVC.h"
#include "Url.h"

class QLabel;
class QMenu;

namespace fillstation {

class FileRows;

// The table of the file list. A right click doesn't touch the selection; it remembers the row under
// the pointer and opens the context menu. Files and folders of this machine can be dropped on it.
// Main thread; belongs to the main window.
class FileTable : public QTableView, public TableView {
  Q_OBJECT

 public:
  explicit FileTable(QWidget* parent = nullptr);

  // Shows this list from now on, and asks the function for the file type of added items. Once.
  void showList(std::shared_ptr<TRSongsTVC> songs, std::function<QString()> fileType);

  // The menu of right clicks and of the keyboard's menu key.
  void setContextMenu(QMenu* menu) { menu_ = menu; }

  // Selection and current row stay with the roots that are still listed.
  void reloadData() override;

  // The row under the pointer when the context menu was last opened (with the keyboard: the current
  // row); -1 for none and after a reload.
  long clickedRow() const { return clickedRow_; }
  std::set<std::size_t> selectedRowIndexes() const;

 signals:
  // Files and folders that were dropped, in their order.
  void dropped(const std::vector<fillstation::Url>& urls);
  // The key that deletes was pressed.
  void deletePressed();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dragLeaveEvent(QDragLeaveEvent* event) override;
  void dropEvent(QDropEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  void setDraggedOver(bool value);

  std::shared_ptr<TRSongsTVC> songs_;
  TRFileList shown_;  // the roots of the rows, as of the last reload
  FileRows* rows_ = nullptr;
  QMenu* menu_ = nullptr;
  QLabel* hint_;
  long clickedRow_ = -1;
  bool isDraggedOver_ = false;
};

}  // namespace fillstation
