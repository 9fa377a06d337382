#include "FileTable.h"

#include <QContextMenuEvent>
#include <QDir>
#include <QDropEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "DisplayText.h"
#include "FileRows.h"
#include "WindowStyle.h"

namespace fillstation {
namespace {

constexpr int kRowSpacing = 8;
constexpr int kSizeWidth = 92;
constexpr int kCellPadding = 4;

// Space at both sides of headers and cells, so that a right-aligned column does not touch the next.
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

// Shows names and paths in a mirrored window as they are written, and the remark of a name dimmed
// at the other end of its cell.
class Cells : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  QString displayText(const QVariant& value, const QLocale& locale) const override {
    return isolated(QStyledItemDelegate::displayText(value, locale));
  }
  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    const QString remark = index.data(FileRows::kRemarkRole).toString();
    if (remark.isEmpty()) {
      QStyledItemDelegate::paint(painter, option, index);
      return;
    }
    QStyleOptionViewItem ground = option;
    initStyleOption(&ground, index);
    const QStyle* const style = option.widget->style();
    QRect left = style->subElementRect(QStyle::SE_ItemViewItemText, &ground, option.widget)
                     .adjusted(kCellPadding, 0, -kCellPadding, 0);
    ground.text.clear();
    style->drawControl(QStyle::CE_ItemViewItem, &ground, painter, option.widget);
    const int width = option.fontMetrics.horizontalAdvance(remark) + 2 * kCellPadding;
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    const QColor text =
        option.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QColor base = option.palette.color(isSelected ? QPalette::Highlight : QPalette::Base);
    painter->save();
    painter->setPen(dimmed(text, base));
    const QRect right(option.rect.right() - width, option.rect.top(), width, option.rect.height());
    painter->drawText(
        QStyle::visualRect(option.direction, option.rect, right.adjusted(0, 0, -kCellPadding, 0)),
        static_cast<int>(Qt::AlignRight | Qt::AlignVCenter), remark);
    painter->setPen(text);
    // Already where it belongs in a mirrored window.
    left.adjust(option.direction == Qt::RightToLeft ? width : 0, 0,
                option.direction == Qt::RightToLeft ? 0 : -width, 0);
    painter->drawText(left, static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter),
                      isolated(option.fontMetrics.elidedText(index.data().toString(),
                                                             Qt::ElideMiddle, left.width())));
    painter->restore();
  }
};

bool isOfThisMachine(const QUrl& url) {
  return url.isLocalFile() && (url.host().isEmpty() || url.host() == QLatin1String("localhost"));
}

// The dragged items that are files or folders on this computer.
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
  setItemDelegate(new Cells(this));
  setSelectionBehavior(SelectRows);
  setEditTriggers(NoEditTriggers);
  setTabKeyNavigation(false);
  setAlternatingRowColors(true);
  setShowGrid(false);
  setDragDropMode(DropOnly);
  setAccessibleName(tr("Files"));
  setAccessibleDescription(
      tr("The folders to copy, in this order. Delete removes the selected rows."));
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

void FileTable::showList(std::shared_ptr<TRSongsTVC> songs, std::function<QString()> fileType) {
  songs_ = std::move(songs);
  rows_ = new FileRows(songs_, std::move(fileType), this);
  setModel(rows_);
  horizontalHeader()->setSectionResizeMode(FileRows::kPath, QHeaderView::Stretch);
  horizontalHeader()->setSectionResizeMode(FileRows::kName, QHeaderView::Stretch);
  setColumnWidth(FileRows::kSize,
                 std::max(kSizeWidth, horizontalHeader()->sectionSizeHint(FileRows::kSize)));
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
  // Not selectedRows(): it leaves out rows that the list has lost and the table still shows.
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
  setDraggedOver(event->isAccepted() && isEnabled());
}

void FileTable::dragLeaveEvent(QDragLeaveEvent* event) {
  QTableView::dragLeaveEvent(event);
  setDraggedOver(false);
}

void FileTable::setDraggedOver(bool value) {
  isDraggedOver_ = value;
  viewport()->update();
}

void FileTable::paintEvent(QPaintEvent* event) {
  QTableView::paintEvent(event);
  if (isDraggedOver_) {
    QPainter painter(viewport());
    painter.setPen(QPen(palette().color(QPalette::Highlight), 4));
    painter.drawRect(viewport()->rect());
  }
}

// Anywhere on the table, since a drop goes to the end of the list.
void FileTable::dragMoveEvent(QDragMoveEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->setAccepted(isEnabled());
}

// A drag that has entered the table continues there after the table was disabled.
void FileTable::dropEvent(QDropEvent* event) {
  setDraggedOver(false);
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
