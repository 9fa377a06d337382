#include "OpenPanel.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileSystemModel>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSettings>
#include <QSortFilterProxyModel>
#include <QStandardPaths>
#include <QTreeView>
#include <filesystem>

#include "DisplayText.h"
#include "ModalSession.h"
#include "TRFile.h"

namespace fillstation {
namespace {

// Wide enough for the names beside their sizes, types and times.
constexpr QSize kPanelSize(960, 560);

// Of a file system model, every folder and the files of one type: an extension, compared as the
// file list compares it. Leaves sorting to the model.
class FileTypeProxy : public QSortFilterProxyModel {
 public:
  FileTypeProxy(std::string fileType, QObject* parent)
      : QSortFilterProxyModel(parent), fileType_(std::move(fileType)) {}

  // The names as plain text of one line; their other roles are true.
  QVariant data(const QModelIndex& index, int role) const override {
    const QVariant value = QSortFilterProxyModel::data(index, role);
    return role == Qt::DisplayRole && index.column() == 0
               ? displayText(std::string_view(value.toString().toStdString()))
               : value;
  }

  void sort(int column, Qt::SortOrder order) override { sourceModel()->sort(column, order); }

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override {
    const auto* files = qobject_cast<const QFileSystemModel*>(sourceModel());
    const QModelIndex index = files->index(row, 0, parent);
    return files->isDir(index) ||
           matchesFileType(QFile::encodeName(files->filePath(index)).toStdString(), fileType_);
  }

 private:
  const std::string fileType_;
};

QLineEdit* nameEdit(const QFileDialog& dialog) {
  return dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
}

QString startFolder() {
  const QString music = QStandardPaths::writableLocation(QStandardPaths::MusicLocation);
  return QFileInfo(music).isDir() ? music : QDir::homePath();
}

// The usual places of audio: the home folder and everything that is plugged in.
QList<QUrl> usualPlaces() {
  QList<QUrl> places;
  for (const auto place : {QStandardPaths::HomeLocation, QStandardPaths::MusicLocation,
                           QStandardPaths::DesktopLocation}) {
    const QString folder = QStandardPaths::writableLocation(place);
    if (QFileInfo(folder).isDir() && !places.contains(QUrl::fromLocalFile(folder))) {
      places << QUrl::fromLocalFile(folder);
    }
  }
  const QString person = QDir::home().dirName();
  for (const QString& media :
       {QStringLiteral("/media/%1").arg(person), QStringLiteral("/run/media/%1").arg(person)}) {
    for (const QString& name : QDir(media).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
      places << QUrl::fromLocalFile(media + QLatin1Char('/') + name);
    }
  }
  return places;
}

// Qt 6.8 lists nothing that the system reports after a name that isn't UTF-8. So in a folder with
// such a name the model is told every other name.
void listAll(QFileSystemModel& model, const QString& folder, const QHeaderView& header) {
  QStringList names;
  bool hasOtherBytes = false;
  std::error_code failed;
  std::filesystem::directory_iterator entry(QFile::encodeName(folder).toStdString(), failed);
  for (; !failed && entry != std::filesystem::directory_iterator(); entry.increment(failed)) {
    const std::string bytes = entry->path().filename().string();
    const QString name = QString::fromStdString(bytes);
    if (name.toStdString() != bytes) {
      hasOtherBytes = true;
    } else if (!name.startsWith(QLatin1Char('.'))) {
      names.append(name);
    }
  }
  if (!hasOtherBytes) {
    return;
  }
  const int before = model.rowCount(model.index(folder));
  for (const QString& name : names) {
    static_cast<void>(model.index(folder + QLatin1Char('/') + name));
  }
  if (model.rowCount(model.index(folder)) != before) {
    // New ones are at the end, and a model that was sorted in this order doesn't sort again.
    const int column = header.sortIndicatorSection();
    const bool isUpwards = header.sortIndicatorOrder() == Qt::AscendingOrder;
    model.sort(column, isUpwards ? Qt::DescendingOrder : Qt::AscendingOrder);
    model.sort(column, header.sortIndicatorOrder());
  }
}

}  // namespace

OpenPanel::OpenPanel(QWidget* parent, const std::string& fileType, const QString& folder)
    : QFileDialog(parent), fileType_(fileType) {
  setOptions(DontUseNativeDialog | ReadOnly | HideNameFilterDetails);
  setFileMode(ExistingFile);
  setProxyModel(new FileTypeProxy(fileType, this));
  setDirectory(folder);
  resize(kPanelSize);
  setLabelText(FileName, tr("Folder or file:"));
  setSidebarUrls(usualPlaces());
  setWindowTitle(tr("Add a folder or a file (%1)").arg(displayText(std::string_view(fileType))));
  for (const char* name : {"fileTypeLabel", "fileTypeCombo"}) {
    findChild<QWidget*>(QLatin1String(name))->hide();
  }
  auto* const lookIn = findChild<QComboBox*>(QStringLiteral("lookInCombo"));
  lookIn->view()->setAccessibleName(tr("Parent folders"));
  findChild<QLabel*>(QStringLiteral("lookInLabel"))->setBuddy(lookIn);
  auto* const header = findChild<QTreeView*>(QStringLiteral("treeView"))->header();
  header->setSectionResizeMode(QHeaderView::ResizeToContents);
  header->setSectionResizeMode(0, QHeaderView::Stretch);
  const auto* list = findChild<QListView*>(QStringLiteral("listView"));
  connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &OpenPanel::showSelectedName);
  auto* const files = findChild<QFileSystemModel*>();
  connect(files, &QFileSystemModel::directoryLoaded, this,
          [files, header](const QString& loaded) { listAll(*files, loaded, *header); });
  // A folder that was entered is named, so that the "Open" button can take it.
  connect(files, &QFileSystemModel::rootPathChanged, nameEdit(*this), &QLineEdit::setText);
  // Qt takes double quotes for marks around several names and would refuse a name that has some.
  auto* const open = findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Open);
  connect(nameEdit(*this), &QLineEdit::textChanged, open,
          [this, open] { open->setEnabled(canChoose(typedPath())); });
}

OpenPanelFunction OpenPanel::runner(QWidget* parent) {
  return [parent, folder = QString()](
             const std::string& fileType) mutable -> std::optional<std::vector<Url>> {
    OpenPanel panel(parent, fileType, folder.isEmpty() ? startFolder() : folder);
    runModalSession(panel);
    const QString path = panel.chosenPath();
    if (path.isEmpty()) {
      return std::nullopt;
    }
    folder = QFileInfo(path).absolutePath();
    return std::vector{urlOfPath(path)};
  };
}

void OpenPanel::keepSettingsAway() {
  QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                     QStringLiteral("/dev/null/settings"));
}

void OpenPanel::accept() {
  const QString path = typedPath();
  if (!canChoose(path)) {
    nameEdit(*this)->selectAll();
    return;
  }
  chosenPath_ = path;
  // The file dialog's own would open a folder instead of taking it.
  QDialog::accept();  // NOLINT(bugprone-parent-virtual-call)
}

void OpenPanel::showSelectedName() {
  if (nameEdit(*this)->hasFocus()) {
    return;  // selected by Qt, after the typed part
  }
  const auto* list = findChild<QListView*>(QStringLiteral("listView"));
  for (const QModelIndex& index : list->selectionModel()->selectedRows()) {
    const QString path = index.data(QFileSystemModel::FilePathRole).toString();
    // Qt names no folder here, and a file as it is shown. Between the quotes of a name it may find
    // an empty one, and select the shown folder itself.
    if (index.parent() == list->rootIndex()) {
      nameEdit(*this)->setText(QFileInfo(path).fileName());
    }
  }
}

QString OpenPanel::typedPath() const {
  return QDir::cleanPath(directory().absoluteFilePath(nameEdit(*this)->text()));
}

bool OpenPanel::canChoose(const QString& path) const {
  const QFileInfo info(path);
  return !nameEdit(*this)->text().isEmpty() && info.exists() &&
         (info.isDir() || matchesFileType(QFile::encodeName(path).toStdString(), fileType_));
}

}  // namespace fillstation
