#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <string>

#include "Atomic.h"
#include "Number.h"
#include "TRFile.h"

namespace fillstation {

// The view of the file list, as the list needs it. Main thread.
class TableView {
 public:
  virtual ~TableView() = default;

  // Reads the row count and every visible cell again.
  virtual void reloadData() = 0;
};

// The file list: the chosen roots in the order in which they were added, their total size, and the
// data source of the file table (row i is the root at index i). Made with the window, and lives as
// long. Main thread. During a run the workers read the roots, and the list must not change.
class TRSongsTVC {
 public:
  // An empty list with total 0 and no table.
  TRSongsTVC();

  // Number of roots; the table is ignored.
  std::size_t numberOfRowsInTableView(const TableView* view) const;

  // The field, named by the column's identifier, of the root at that row; the table is ignored.
  // Throws std::out_of_range for a row or a field that doesn't exist.
  TRFile::Value tableView(const TableView* view, const std::string& column, long row) const;

  // Appends a root, even if it is already listed.
  void addTRFile(std::shared_ptr<TRFile> file);
  // Remove one root, several in one step, or all. For an index that doesn't exist they throw
  // std::out_of_range and remove nothing.
  void removeTRFileAt(std::size_t index);
  void removeTRFiles(const std::set<std::size_t>& indexes);
  void removeAllTRFiles();

  // Sums the roots' sizes (an absent one counts as 0) and reloads the table. Every change above
  // ends with it.
  void refresh();

  // Bytes, as of the last refresh().
  Number totalFileSize() const { return totalFileSize_.get(); }
  void setTotalFileSize(Number value) { totalFileSize_.set(std::move(value)); }
  // Connected by the window; absent until then.
  std::shared_ptr<TableView> tblView() const { return tblView_.get(); }
  void setTblView(std::shared_ptr<TableView> value) { tblView_.set(std::move(value)); }
  // The list object itself; changes made to it count from the next refresh().
  std::shared_ptr<TRFileList> list() const { return list_.get(); }
  void setList(std::shared_ptr<TRFileList> value) { list_.set(std::move(value)); }

 private:
  Atomic<Number> totalFileSize_;
  Atomic<std::shared_ptr<TableView>> tblView_;
  Atomic<std::shared_ptr<TRFileList>> list_;
};

}  // namespace fillstation
