#include "TRSongsTVC.h"

#include <stdexcept>

namespace fillstation {

TRSongsTVC::TRSongsTVC() : totalFileSize_(Number(0)), list_(std::make_shared<TRFileList>()) {}

std::size_t TRSongsTVC::numberOfRowsInTableView(const TableView* /*view*/) const {
  return list()->size();
}

TRFile::Value TRSongsTVC::tableView(const TableView* /*view*/, const std::string& column,
                                    long row) const {
  return list()->at(static_cast<std::size_t>(row))->valueForKey(column);
}

void TRSongsTVC::addTRFile(std::shared_ptr<TRFile> file) {
  list()->push_back(std::move(file));
  refresh();
}

void TRSongsTVC::removeTRFileAt(std::size_t index) { removeTRFiles({index}); }

void TRSongsTVC::removeTRFiles(const std::set<std::size_t>& indexes) {
  const auto files = list();
  if (!indexes.empty() && *indexes.rbegin() >= files->size()) {
    throw std::out_of_range("no root of the file list has this index");
  }
  // From the end, so that the remaining indexes stay valid.
  for (auto index = indexes.rbegin(); index != indexes.rend(); ++index) {
    files->erase(files->begin() + static_cast<std::ptrdiff_t>(*index));
  }
  refresh();
}

void TRSongsTVC::removeAllTRFiles() {
  list()->clear();
  refresh();
}

void TRSongsTVC::refresh() {
  setTotalFileSize(Number(totalSize(*list())));
  if (const auto table = tblView()) {
    table->reloadData();
  }
}

}  // namespace fillstation
