#include "FileRows.h"

#include <QApplication>
#include <QHeaderView>
#include <QStyleOptionHeader>
#include <algorithm>
#include <array>
#include <utility>

#include "DisplayText.h"
#include "FileTable.h"
#include "Platform.h"

namespace fillstation {
namespace {

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
  return QVariant::fromValue<Qt::Alignment>(
      (column == FileRows::kSize ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
}

// Names of a tool tip.
constexpr std::size_t kNamed = 5;

}  // namespace

FileRows::FileRows(std::shared_ptr<TRSongsTVC> songs, std::function<QString()> fileType,
                   QObject* parent)
    : QAbstractTableModel(parent), songs_(std::move(songs)), fileType_(std::move(fileType)) {}

FileRows::~FileRows() { *isOutdated_ = true; }

int FileRows::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(songs_->numberOfRowsInTableView(nullptr));
}

int FileRows::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(kColumns.size());
}

QVariant FileRows::data(const QModelIndex& index, int role) const {
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

QVariant FileRows::headerData(int section, Qt::Orientation orientation, int role) const {
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

void FileRows::reload() {
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

QString FileRows::cellText(const QModelIndex& index) const {
  const char* identifier = kColumns.at(static_cast<std::size_t>(index.column())).identifier;
  const TRFile::Value value = songs_->tableView(nullptr, identifier, index.row());
  if (const auto* number = std::get_if<Number>(&value)) {
    return fileSizeText(number->value());
  }
  const auto* text = std::get_if<std::string>(&value);
  return text != nullptr ? displayText(std::string_view(*text)) : QString();
}

// In the header's own font. By default Qt also looks up a bold one, which is never shown: a start
// doesn't wait for it.
QSize FileRows::titleSize(int section) const {
  const auto* const header = static_cast<FileTable*>(QObject::parent())->horizontalHeader();
  QStyleOptionHeader option;
  option.initFrom(header);
  option.text = headerData(section, Qt::Horizontal, Qt::DisplayRole).toString();
  return header->style()->sizeFromContents(QStyle::CT_HeaderSection, &option, {}, header);
}

// A tool tip warns that a file root can't be copied.
QString FileRows::tip(const QModelIndex& index) const {
  const TRFile& root = *songs_->list()->at(static_cast<std::size_t>(index.row()));
  QString text = cellText(index);
  if (!root.isDir()) {
    text += QLatin1Char('\n') +
            FileTable::tr("A single file always fails to copy: add its folder instead.");
  }
  return text + warning(index.row());
}

QString FileRows::remark(const QModelIndex& index) const {
  const auto found = remarks_.find(songs_->list()->at(static_cast<std::size_t>(index.row())));
  return index.column() == kName && found != remarks_.end() ? found->second : QString();
}

// The first names that the players can't store, on lines of their own; empty for none.
QString FileRows::warning(int row) const {
  const auto found = refused_.find(static_cast<std::size_t>(row));
  if (found == refused_.end()) {
    return {};
  }
  const auto& refused = found->second;
  QString text = QLatin1Char('\n') + FileTable::tr("The players can't store %n of these:", nullptr,
                                                   static_cast<int>(refused.size()));
  for (std::size_t at = 0; at < std::min(refused.size(), kNamed); ++at) {
    text += QStringLiteral("\n%1: %2")
                .arg(displayText(std::string_view(refused[at].path)), wordFor(refused[at].reason));
  }
  return refused.size() > kNamed ? text + QStringLiteral("\n…") : text;
}

// Finds the names that FAT will refuse, on a worker.
void FileRows::checkForFat() {
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

void FileRows::showRefused(const std::vector<FatRefusal>& refused) {
  refused_.clear();
  for (const auto& each : refused) {
    refused_[each.root].push_back(each);
  }
  emit dataChanged(index(0, kName), index(rowCount() - 1, kName));
}

}  // namespace fillstation
