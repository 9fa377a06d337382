#include "FileTable.h"

#include <QAbstractTableModel>
#include <QApplication>
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
#include <array>
#include <atomic>
#include <functional>
#include <map>
#include <utility>

#include "DisplayText.h"
#include "FatCheck.h"
#include "Platform.h"
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

// Names of a tool tip.
constexpr std::size_t kNamed = 5;
// What a root contains, shown after its name.
constexpr int kRemarkRole = Qt::UserRole;

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
    const QString remark = index.data(kRemarkRole).toString();
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

QString wordFor(FatReason reason) {
  switch (reason) {
    case FatReason::kName:
      return FileTable::tr("the name");
    case FatReason::kTooLarge:
      return FileTable::tr("4 GiB or more");
    case FatReason::kSamePlace:
      return FileTable::tr("the name exists already");
    default:
      return FileTable::tr("its folder is full");
  }
}

// How many files a folder brings.
QString remarkOn(const TRFile& root, const QString& fileType) {
  if (!root.isDir()) {
    return {};
  }
  const std::size_t count = fileCount(root);
  if (count == 0) {
    return FileTable::tr("no %1 files").arg(displayText(std::string_view(fileType.toStdString())));
  }
  return FileTable::tr("%n files", nullptr, static_cast<int>(count));
}

}  // namespace

// The file list as rows and columns: name, size, path. Texts are plain and of one line.
class FileRows : public QAbstractTableModel {
 public:
  FileRows(std::shared_ptr<TRSongsTVC> songs, std::function<QString()> fileType, QObject* parent)
      : QAbstractTableModel(parent), songs_(std::move(songs)), fileType_(std::move(fileType)) {}
  ~FileRows() override { *isOutdated_ = true; }

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
      case kRemarkRole:
        return remark(index);
      case Qt::AccessibleDescriptionRole:
        return index.column() == kName ? remark(index) + warning(index.row()) : QString();
      case Qt::DecorationRole:
        return index.column() == kName && refused_.contains(static_cast<std::size_t>(index.row()))
                   ? QApplication::style()->standardIcon(QStyle::SP_MessageBoxWarning)
                   : QVariant();
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
      case Qt::SizeHintRole:
        return titleSize(section);
      default:
        return {};
    }
  }

  // To be called when the list has changed.
  void reload() {
    beginResetModel();
    std::map<std::shared_ptr<TRFile>, QString> remarks;
    for (const auto& root : *songs_->list()) {
      const auto known = remarks_.find(root);
      remarks[root] = known != remarks_.end() ? known->second : remarkOn(*root, fileType_());
    }
    remarks_ = std::move(remarks);
    refused_.clear();
    endResetModel();
    checkForFat();
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
  // A tool tip warns that a file root can't be copied.
  QString tip(const QModelIndex& index) const {
    const TRFile& root = *songs_->list()->at(static_cast<std::size_t>(index.row()));
    QString text = cellText(index);
    if (!root.isDir()) {
      text += QLatin1Char('\n') +
              FileTable::tr("A single file always fails to copy: add its folder instead.");
    }
    return text + warning(index.row());
  }
  QString remark(const QModelIndex& index) const {
    const auto found = remarks_.find(songs_->list()->at(static_cast<std::size_t>(index.row())));
    return index.column() == kName && found != remarks_.end() ? found->second : QString();
  }
  // The first names that the players can't store, on lines of their own; empty for none.
  QString warning(int row) const {
    const auto found = refused_.find(static_cast<std::size_t>(row));
    if (found == refused_.end()) {
      return {};
    }
    const auto& refused = found->second;
    QString text =
        QLatin1Char('\n') + FileTable::tr("The players can't store %n of these:", nullptr,
                                          static_cast<int>(refused.size()));
    for (std::size_t at = 0; at < std::min(refused.size(), kNamed); ++at) {
      text +=
          QStringLiteral("\n%1: %2")
              .arg(displayText(std::string_view(refused[at].path)), wordFor(refused[at].reason));
    }
    return refused.size() > kNamed ? text + QStringLiteral("\n…") : text;
  }

  // Finds the names that FAT will refuse, on a worker.
  void checkForFat() {
    *isOutdated_ = true;
    isOutdated_ = std::make_shared<std::atomic<bool>>(false);
    if (rowCount() == 0) {
      return;
    }
    platform().workers->spawn([this, roots = *songs_->list(), outdated = isOutdated_] {
      const auto refused =
          refusedByFat(roots, [&] { return outdated->load() || platform().workers->stopping(); });
      // No code waits for the worker, and the table may have gone by then.
      platform().mainThread->post([=, this] {
        if (!*outdated) {
          showRefused(refused);
        }
      });
    });
  }
  void showRefused(const std::vector<FatRefusal>& refused) {
    refused_.clear();
    for (const auto& each : refused) {
      refused_[each.root].push_back(each);
    }
    emit dataChanged(index(0, kName), index(rowCount() - 1, kName));
  }

  std::shared_ptr<TRSongsTVC> songs_;
  std::function<QString()> fileType_;
  // Made when a root is added: its files are counted once.
  std::map<std::shared_ptr<TRFile>, QString> remarks_;
  std::map<std::size_t, std::vector<FatRefusal>> refused_;  // by row
  std::shared_ptr<std::atomic<bool>> isOutdated_ = std::make_shared<std::atomic<bool>>(false);
};

FileTable::FileTable(QWidget* parent)
    : QTableView(parent),
      hint_(new QLabel(tr("Drop folders of audio here,\nor choose Browse"), viewport())) {
  auto* const roomy = new RoomyStyle(this);
  setStyle(roomy);
  horizontalHeader()->setStyle(roomy);
  setItemDelegate(new Cells(this));
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
  horizontalHeader()->setSectionResizeMode(kPath, QHeaderView::Stretch);
  horizontalHeader()->setSectionResizeMode(kName, QHeaderView::Stretch);
  setColumnWidth(kSize, std::max(kSizeWidth, horizontalHeader()->sectionSizeHint(kSize)));
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
