#include "FileTable.h"

#include <QAbstractTableModel>
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
#include <array>
#include <utility>

#include "DisplayText.h"
#include "WindowStyle.h"

namespace fillstation {
namespace {

constexpr int kRowSpacing = 8;
constexpr int kSizeWidth = 92;
constexpr int kCellPadding = 4;

enum Column { kName, kSize, kPath };

struct ColumnText {
  const char* identifier;
  const char* title;
};

constexpr std::array kColumns{
    ColumnText{"name", QT_TRANSLATE_NOOP("fillstation::FileTable", "Name")},
    ColumnText{"size", QT_TRANSLATE_NOOP("fillstation::FileTable", "Size")},
    ColumnText{"path", QT_TRANSLATE_NOOP("fillstation::FileTable", "Path")},
};

QVariant alignmentOf(int column) {
  return QVariant::fromValue<Qt::Alignment>((column == kSize ? Qt::AlignRight : Qt::AlignLeft) |
                                            Qt::AlignVCenter);
}

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

// The file list as rows and columns: name, size, path. Texts are plain and of one line.
class FileRows : public QAbstractTableModel {
 public:
  FileRows(std::shared_ptr<TRSongsTVC> songs, QObject* parent)
      : QAbstractTableModel(parent), songs_(std::move(songs)) {}

  int rowCount(const QModelIndex& parent = QModelIndex()) const override {
    return parent.isValid() ? 0 : static_cast<int>(songs_->numberOfRowsInTableView(nullptr));
  }
  int columnCount(const QModelIndex& parent) const override {
    return parent.isValid() ? 0 : static_cast<int>(kColumns.size());
  }
  QVariant data(const QModelIndex& index, int role) const override {
    if (index.row() >= rowCount()) {
      return {};  // the list was changed behind the table's back and not reloaded yet
    }
    switch (role) {
      case Qt::DisplayRole:
        return cellText(index);
      case Qt::ToolTipRole:
        return toolTipText(tip(index));
      case Qt::TextAlignmentRole:
        return alignmentOf(index.column());
      default:
        return {};
    }
  }
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    if (orientation != Qt::Horizontal) {
      return {};
    }
    switch (role) {
      case Qt::DisplayRole:
        return FileTable::tr(kColumns.at(static_cast<std::size_t>(section)).title);
      case Qt::TextAlignmentRole:
        return alignmentOf(section);
      default:
        return {};
    }
  }

  // To be called when the list has changed.
  void reload() {
    beginResetModel();
    endResetModel();
  }

 private:
  QString cellText(const QModelIndex& index) const {
    const char* identifier = kColumns.at(static_cast<std::size_t>(index.column())).identifier;
    const TRFile::Value value = songs_->tableView(nullptr, identifier, index.row());
    if (const auto* number = std::get_if<Number>(&value)) {
      return fileSizeText(number->value());
    }
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? displayText(std::string_view(*text)) : QString();
  }
  // It says of a file root that it can't be copied.
  QString tip(const QModelIndex& index) const {
    const TRFile& root = *songs_->list()->at(static_cast<std::size_t>(index.row()));
    QString text = cellText(index);
    if (!root.isDir()) {
      text += QLatin1Char('\n') +
              FileTable::tr("A single file always fails to copy: add its folder instead.");
    }
    return text;
  }

  std::shared_ptr<TRSongsTVC> songs_;
};

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
  rows_ = new FileRows(songs_, this);
  setModel(rows_);
  horizontalHeader()->setSectionResizeMode(kPath, QHeaderView::Stretch);
  horizontalHeader()->setSectionResizeMode(kName, QHeaderView::Stretch);
  setColumnWidth(kSize, kSizeWidth);
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
      const QModelIndex index = rows_->index(row, 0);
      if (selected.contains(static_cast<std::size_t>(rowBefore))) {
        selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
      }
      if (rowBefore == current) {
        selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
      }
      from = found + 1;
    }
  }
  hint_->setVisible(rows_->rowCount() == 0);
}

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
