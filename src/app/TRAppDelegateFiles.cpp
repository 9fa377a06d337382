#include "TRAppDelegate.h"
#include "UsbHold.h"

namespace fillstation {

void TRAppDelegate::btnBrowseFileClicked(QObject* /*sender*/) {
  const auto chosen = openPanel_(cmbFileType()->currentText().toStdString());
  addRoots(chosen.value_or(std::vector<Url>()));
}

void TRAppDelegate::addRoots(const std::vector<Url>& urls) {
  for (const Url& url : urls) {
    addRoot(url);
  }
  updateFilesSize();
}

void TRAppDelegate::addRoot(const Url& url) {
  const UsbHold hold;
  const auto root = TRFile::CreateTRFilesFromURL(url, cmbFileType()->currentText().toStdString());
  if (root && !filesController()->contains(*root)) {
    filesController()->addObject(root);
    songsTVC()->addTRFile(root);
  }
}

void TRAppDelegate::menuNeedsUpdate(QMenu* menu) {
  const auto& table = ::fillstation::fileView;
  clickedRow = table ? table->clickedRow() : -1;
  fileMenuDelete()->setVisible(false);
  fileMenuDeleteSelected()->setVisible(false);
  fileMenuDeleteAll()->setVisible(false);

  std::shared_ptr<TRFile> clickedFile;
  bool isInsideSelection = false;
  if (clickedRow != -1) {
    clickedFile = songsTVC()->list()->at(static_cast<std::size_t>(clickedRow));
    isInsideSelection = table->isRowSelected(clickedRow) && table->numberOfSelectedRows() > 1;
  }
  if (menu != songsTVCContextMenu()) {
    return;
  }
  QAction* first = menu->actions().at(0);
  if (clickedFile) {
    fileMenuDelete()->setVisible(true);
    fileMenuDeleteAll()->setVisible(true);
    fileMenuDeleteSelected()->setVisible(isInsideSelection);
  }
  first->setEnabled(clickedFile != nullptr);
}

void TRAppDelegate::menuFileDeleteCurrent(QObject* /*sender*/) {
  songsTVC()->removeTRFileAt(static_cast<std::size_t>(clickedRow));
  updateFilesSize();
}

void TRAppDelegate::menuFileDeleteSelection(QObject* /*sender*/) {
  songsTVC()->removeTRFiles(::fillstation::fileView->selectedRowIndexes());
  updateFilesSize();
}

void TRAppDelegate::removeSelectedRows() {
  const auto rows = lstFiles()->selectedRowIndexes();
  if (!rows.empty()) {
    songsTVC()->removeTRFiles(rows);
    updateFilesSize();
  }
}

void TRAppDelegate::menuFileDeleteAll(QObject* /*sender*/) {
  songsTVC()->removeAllTRFiles();
  updateFilesSize();
}

}  // namespace fillstation
