#include "FileTable.h"

#include <QContextMenuEvent>
#include <QDir>
#include <QDropEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "DisplayText.h"
#include "FileTableModel.h"
#include "PathUrl.h"
#include "WindowStyle.h"

namespace fillstation {
namespace {

constexpr int kRowSpacing = 8;
constexpr int kSizeWidth = 92;
constexpr int kCellPadding = 4;

// Room at both sides of headers and cells, so that a right-aligned column does not touch the next.
class RoomyStyle : public WindowStyle {
 public:
  explicit RoomyStyle(QObject* owner) { setParent(owner); }
  int pixelMetric(PixelMetric metric, const QStyleOption* option,
                  const QWidget* widget) const override {
    const int width = WindowStyle::pixelMetric(metric, option, widget);
    const bool padded = metric == PM_HeaderMargin || metric == PM_FocusFrameHMargin;
    return padded ? width + kCellPadding : width;
  }
};

// Shows names and paths in a mirrored window as they are written.
class OwnDirection : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  QString displayText(const QVariant& value, const QLocale& locale) const override {
    return isolated(QStyledItemDelegate::displayText(value, locale));
  }
};

bool isOfThisMachine(const QUrl& url) {
  return url.isLocalFile() && (url.host().isEmpty() || url.host() == QLatin1String("localhost"));
}

// What of the dragged things lies on this machine, under a path of its own.
std::vector<Url> localUrls(const QMimeData& dragged) {
  std::vector<Url> urls;
  for (const QUrl& url : dragged.urls()) {
    const QString path = url.path(QUrl::FullyDecoded);
    // A path below nothing has no place on any machine.
    if (isOfThisMachine(url) && path.startsWith(QLatin1Char('/'))) {
      urls.push_back(urlOfPath(QDir::cleanPath(path)));
    }
  }
  return urls;
}

}  // namespace

FileTable::FileTable(QWidget* parent)
    : QTableView(parent),
      hint_(new QLabel(tr("Drop folders of audio here,\nor choose Browse"), viewport())) {
  auto* const roomy = new RoomyStyle(this);
  setStyle(roomy);
  horizontalHeader()->setStyle(roomy);
  setItemDelegate(new OwnDirection(this));
  setSelectionBehavior(SelectRows);
  setSelectionMode(ExtendedSelection);
  setEditTriggers(NoEditTriggers);
  setTabKeyNavigation(false);
  setAlternatingRowColors(true);
  setShowGrid(false);
  setAcceptDrops(true);
  setDragDropMode(DropOnly);
  setAccessibleName(tr("Files"));
  setAccessibleDescription(
      tr("What the players get, in this order. Delete removes the selected rows."));
  setWordWrap(false);
  setTextElideMode(Qt::ElideMiddle);
  verticalHeader()->hide();
  verticalHeader()->setDefaultSectionSize(fontMetrics().height() + kRowSpacing);
  horizontalHeader()->setHighlightSections(false);
  hint_->setAlignment(Qt::AlignCenter);
  hint_->setForegroundRole(QPalette::PlaceholderText);
  hint_->setAttribute(Qt::WA_TransparentForMouseEvents);
  auto* cover = new QVBoxLayout(viewport());
  cover->addWidget(hint_);
}

void FileTable::showList(std::shared_ptr<TRSongsTVC> songs) {
  songs_ = std::move(songs);
  rows_ = new FileTableModel(songs_, this);
  setModel(rows_);
  horizontalHeader()->setSectionResizeMode(FileTableModel::kPath, QHeaderView::Stretch);
  horizontalHeader()->setSectionResizeMode(FileTableModel::kName, QHeaderView::Stretch);
  setColumnWidth(FileTableModel::kSize, kSizeWidth);
}

void FileTable::reloadData() {
  clickedRow_ = -1;
  const TRFileList before = std::exchange(shown_, *songs_->list());
  const auto selected = selectedRowIndexes();
  const int current = currentIndex().row();
  rows_->reload();
  auto from = before.begin();
  for (int row = 0; row < rows_->rowCount(); ++row) {
    const auto found = std::find(from, before.end(), shown_[static_cast<std::size_t>(row)]);
    if (found != before.end()) {
      const auto rowBefore = found - before.begin();
      takeOver(row, selected.contains(static_cast<std::size_t>(rowBefore)), rowBefore == current);
      from = found + 1;
    }
  }
  hint_->setVisible(rows_->rowCount() == 0);
}

void FileTable::takeOver(int row, bool isSelected, bool isCurrent) {
  const QModelIndex index = rows_->index(row, 0);
  if (isSelected) {
    selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
  }
  if (isCurrent) {
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
  }
}

bool FileTable::isRowSelected(long row) const {
  return selectionModel()->isRowSelected(static_cast<int>(row));
}

std::size_t FileTable::numberOfSelectedRows() const { return selectedRowIndexes().size(); }

std::set<std::size_t> FileTable::selectedRowIndexes() const {
  std::set<std::size_t> rows;
  // Not by selectedRows(), which leaves out those that the list, but not the table yet, has lost.
  for (const QItemSelectionRange& range : selectionModel()->selection()) {
    for (int row = range.top(); row <= range.bottom(); ++row) {
      rows.insert(static_cast<std::size_t>(row));
    }
  }
  return rows;
}

void FileTable::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Delete)) {
    emit deletePressed();
    return;
  }
  QTableView::keyPressEvent(event);
}

void FileTable::dragEnterEvent(QDragEnterEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->setAccepted(!localUrls(*event->mimeData()).empty());
}

// Anywhere on the table, since a drop goes to the end of the list.
void FileTable::dragMoveEvent(QDragMoveEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->setAccepted(isEnabled());
}

// A drag that has entered the table goes on there when the table is switched off.
void FileTable::dropEvent(QDropEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->setAccepted(isEnabled());
  if (isEnabled()) {
    emit dropped(localUrls(*event->mimeData()));
  }
}

void FileTable::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::RightButton) {
    QTableView::mousePressEvent(event);
  }
}

void FileTable::contextMenuEvent(QContextMenuEvent* event) {
  QPoint at = event->globalPos();
  if (event->reason() == QContextMenuEvent::Keyboard) {
    clickedRow_ = currentIndex().row();
    at = viewport()->mapToGlobal(visualRect(currentIndex()).bottomLeft());
  } else {
    clickedRow_ = indexAt(event->pos()).row();
  }
  menu_->popup(at);
  if (menu_->isEmpty()) {
    menu_->close();  // a frame around nothing
  }
}

}  // namespace fillstation
