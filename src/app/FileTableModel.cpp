#include "FileTableModel.h"

#include <array>
#include <string>

#include "Capacity.h"
#include "DisplayText.h"

namespace fillstation {
namespace {

struct ColumnText {
  const char* identifier;
  const char* title;
};

constexpr std::array kColumns{
    ColumnText{"name", QT_TRANSLATE_NOOP("fillstation::FileTableModel", "Name")},
    ColumnText{"size", QT_TRANSLATE_NOOP("fillstation::FileTableModel", "Size")},
    ColumnText{"path", QT_TRANSLATE_NOOP("fillstation::FileTableModel", "Path")},
};

}  // namespace

FileTableModel::FileTableModel(std::shared_ptr<TRSongsTVC> songs, QObject* parent)
    : QAbstractTableModel(parent), songs_(std::move(songs)) {}

int FileTableModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(songs_->numberOfRowsInTableView(nullptr));
}

int FileTableModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(kColumns.size());
}

QVariant FileTableModel::data(const QModelIndex& index, int role) const {
  if (index.row() >= rowCount()) {
    return {};  // the list was changed behind the table's back and not reloaded yet
  }
  switch (role) {
    case Qt::DisplayRole:
      return cellText(index);
    case Qt::ToolTipRole:
      return toolTipText(tip(index));
    case Qt::TextAlignmentRole:
      return QVariant::fromValue<Qt::Alignment>(
          (index.column() == kSize ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    default:
      return {};
  }
}

QVariant FileTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal) {
    return {};
  }
  switch (role) {
    case Qt::DisplayRole:
      return tr(kColumns.at(static_cast<std::size_t>(section)).title);
    case Qt::TextAlignmentRole:
      return QVariant::fromValue<Qt::Alignment>(
          (section == kSize ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    default:
      return {};
  }
}

void FileTableModel::reload() {
  beginResetModel();
  endResetModel();
}

QString FileTableModel::cellText(const QModelIndex& index) const {
  const char* identifier = kColumns.at(static_cast<std::size_t>(index.column())).identifier;
  const TRFile::Value value = songs_->tableView(nullptr, identifier, index.row());
  if (const auto* number = std::get_if<Number>(&value)) {
    return QString::fromStdString(fileSizeText(number->value()));
  }
  const auto* text = std::get_if<std::string>(&value);
  return text != nullptr ? displayText(std::string_view(*text)) : QString();
}

QString FileTableModel::tip(const QModelIndex& index) const {
  const TRFile& root = *songs_->list()->at(static_cast<std::size_t>(index.row()));
  QString text = cellText(index);
  if (!root.isDir()) {
    text += QLatin1Char('\n') + tr("A single file always fails to copy: add its folder instead.");
  }
  return text;
}

}  // namespace fillstation
