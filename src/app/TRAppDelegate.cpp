#include "TRAppDelegate.h"

#include <QVariant>

#include "DisplayText.h"
#include "Format.h"
#include "ModalSession.h"
#include "Platform.h"
#include "TRFileCopyTask.h"
#include "UsbUtil.h"

namespace fillstation {
namespace {

constexpr auto kCompleted = "Process Completed.";

std::shared_ptr<TRPlayer> playerOf(const UsbDeviceInfo& record) {
  auto player = std::make_shared<TRPlayer>();
  player->setName(formatText("%s (%s)", record.diskName, record.volumeName));
  player->setIONumber(static_cast<std::int32_t>(record.ioService));
  player->setSize(Number(record.size));
  player->setDiskName(formatText("%s", record.diskName));
  player->setPath(formatText("%s", record.mountPath));
  player->setIsMounted(!player->path()->empty());
  player->setSelected(Number(0));
  return player;
}

}  // namespace

std::shared_ptr<FileTable> fileView;
long clickedRow = -1;
const char kHomePage[] = FILLSTATION_HOME_PAGE;

void updateUsbInfoCallBack(void* receiver, UsbDeviceInfo* record) {
  static_cast<TRAppDelegate*>(receiver)->updateUsbInfo(record);
}

void TRAppDelegate::applicationDidFinishLaunching() {
  pbCircle()->setDisplayedWhenStopped(false);
  deviceScrollbar()->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);

  TRAttributedString title = tirellLinkBtn()->attributedTitle();
  title.attributes.setForeground(QColor(Qt::blue));
  title.attributes.setFontUnderline(true);
  tirellLinkBtn()->setAttributedTitle(title);
  tirellLinkBtn()->setEnabled(true);

  cmbFileType()->setCurrentIndex(0);
  registerForUSBNotifications(this, updateUsbInfoCallBack);
  platform().usbBus->watchMedia([this] { takeMedia(); });
  ::fillstation::fileView = std::dynamic_pointer_cast<FileTable>(songsTVC()->tblView());
}

void TRAppDelegate::updateUsbInfo(UsbDeviceInfo* record) {
  logText("on update!");
  const auto player = playerOf(*record);
  const auto controller = playerController();
  if (record->inserted == 1) {
    if (!controller->contains(*player)) {
      controller->addObject(player);
    }
  } else if (record->inserted == 0 && controller->arrangedObjects()) {
    controller->removeObject(*player);
  }
  updateFilesSize();
}

void TRAppDelegate::takeMedia() {
  // From Start to the summary the players keep the media that they had at Start.
  const QWidget* const start = btnStart();
  if (start == nullptr || !start->isEnabled()) {
    return;
  }
  const auto controller = playerController();
  bool isAnyNew = false;
  for (const auto& player : controller->listed()) {
    if (const auto size = platform().usbBus->takeMedium(player->identity())) {
      player->setSize(Number(*size));
      isAnyNew = true;
    }
  }
  if (isAnyNew) {
    controller->objectsChanged();
    updateFilesSize();
  }
}

void TRAppDelegate::driveSelectionChanged(QObject* /*sender*/) { updateFilesSize(); }

void TRAppDelegate::selectAllClicked(QObject* /*sender*/) { selectAll(1); }

void TRAppDelegate::selectNoneClicked(QObject* /*sender*/) { selectAll(0); }

void TRAppDelegate::selectAll(int selected) {
  const auto controller = playerController();
  for (const auto& player : controller->listed()) {
    player->setSelected(Number(selected));
  }
  controller->objectsChanged();
  updateFilesSize();
}

void TRAppDelegate::ejectSelectedPlayers(QObject* /*sender*/) {
  const auto controller = playerController();
  ArrayController<TRPlayer>::List leaving;
  for (const auto& player : controller->listed()) {
    if (player->selected().isTrue()) {
      player->eject();
      controller->removeObject(*player);
      leaving.push_back(player);
    }
  }
  updateFilesSize();
  emit ejected(leaving);
}

void TRAppDelegate::updateFilesSize() {
  const auto players = playerController()->listed();
  setMinPlayerSize(Number(players.empty() ? 0 : -1));
  for (const auto& player : players) {
    const Number size = player->size();
    logText("\nLog P Size %@\n", size);
    if (!player->selected().isTrue()) {
      continue;
    }
    // The boxes are ordered by identity, on purpose: the result is one of several players, not the
    // smallest one.
    if (minPlayerSize().ordersAbove(size) || minPlayerSize().value() == -1) {
      setMinPlayerSize(size);
    }
  }
  logText("\nLog xxxP Size %@\n", minPlayerSize());

  const std::int64_t capacity = minPlayerSize().value();
  lblMaxCapSize()->setText(capacityText(capacity));
  const auto songs = songsTVC();
  const std::int64_t used = songs ? songs->totalFileSize().value() : 0;
  lblFreeDiskSpaceLeft()->setText(capacity >= 0 ? spaceLeftText(capacity, used) : capacityText(0));
  emit setChanged();
}

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
    const auto row = static_cast<std::size_t>(clickedRow);
    clickedFile = songsTVC()->list()->at(row);
    const auto selected = table->selectedRowIndexes();
    isInsideSelection = selected.contains(row) && selected.size() > 1;
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

void TRAppDelegate::tirellLinkClicked(QObject* /*sender*/) {
  const Url address = Url::withString(kHomePage);
  platform().workspace->openUrl(address.absoluteString());
}

void TRAppDelegate::btnStartClick(QObject* /*sender*/) {
  focusBefore_ = window()->focusWidget();
  enableView(false);
  // A disabled control passes its focus on, in the end to the link: no key may open it by accident.
  pbProgressBar()->setFocusPolicy(Qt::TabFocus);
  pbProgressBar()->setFocus();
  wndPasswordDialog()->show();
  wndPasswordDialog()->raise();
  wndPasswordDialog()->activateWindow();
}

void TRAppDelegate::btnPassCancel(QObject* /*sender*/) {
  wndPasswordDialog()->hide();
  enableView(true);
  giveFocusBack();
  logText("\nSelection !\n");
  takeMedia();
}

void TRAppDelegate::btnPassOk(QObject* /*sender*/) {
  wndPasswordDialog()->hide();
  pbProgressBar()->setRange(0, 100);
  pbProgressBar()->setValue(0);
  pbProgressBar()->update();

  const auto players = playerController()->listed();
  const auto files = songsTVC()->list();
  const std::string userName = userNameField()->text().toStdString();
  const std::string userPass = passwordField()->text().toStdString();
  if (userName.empty() || userPass.empty()) {
    Alert::run(window(), "You'v entered invalid password.");
    enableView(true);
    giveFocusBack();
    takeMedia();
    return;
  }
  startRun(players, files, userName, userPass);
}

void TRAppDelegate::startRun(const ArrayController<TRPlayer>::List& players,
                             const std::shared_ptr<TRFileList>& files, const std::string& userName,
                             const std::string& userPass) {
  pbCircle()->startAnimation();
  if (auto* const wakefulness = platform().wakefulness) {
    awake_ = wakefulness->keepAwake(tr("Players are being filled").toStdString());
  }
  const auto collection = std::make_shared<TRFileCopyTaskCollection>(files, userName, userPass);
  for (const auto& player : players) {
    if (player->selected().isTrue()) {
      collection->addPlayer(player);
    }
  }
  emit runBegan(collection->tasks());
  using Context = std::shared_ptr<void>;
  collection->startAsyncCopyWithCallBack(
      shared_from_this(),
      [](const Context& receiver, const Context& context) {
        std::static_pointer_cast<TRAppDelegate>(receiver)->onCopyResult(
            std::static_pointer_cast<TRFileCopyTaskCollection>(context));
      },
      [](const Context& receiver, const Context& context) {
        std::static_pointer_cast<TRAppDelegate>(receiver)->updateProgress(
            std::static_pointer_cast<TRFileCopyTaskCollection>(context));
      },
      collection);
  logText("\nafter task call!!!!\n");
}

void TRAppDelegate::updateProgress(const std::shared_ptr<TRFileCopyTaskCollection>& collection) {
  pbProgressBar()->setValue(static_cast<int>(collection->progress().value()));
}

void TRAppDelegate::onCopyResult(const std::shared_ptr<TRFileCopyTaskCollection>& collection) {
  pbCircle()->stopAnimation();
  awake_ = nullptr;
  playerController()->objectsChanged();
  std::string message = kCompleted;
  for (const auto& task : collection->tasks()) {
    if (task->error()) {
      message = formatText("%@\nPlayer %@ Failed in process", message, task->player()->diskName());
    }
  }
  const bool isBad = message != kCompleted;
  emit runEnded(QString::fromStdString(message), isBad);
  Alert::run(window(), message, isBad ? QMessageBox::Warning : QMessageBox::NoIcon);
  enableView(true);
  giveFocusBack();
  takeMedia();
}

void TRAppDelegate::giveFocusBack() {
  pbProgressBar()->setFocusPolicy(Qt::NoFocus);
  QWidget* before = focusBefore_;
  (before != nullptr ? before : btnStart())->setFocus();
}

void TRAppDelegate::enableView(bool enabled) {
  btnStart()->setEnabled(enabled);
  btnBrowse()->setEnabled(enabled);
  lstFiles()->setEnabled(enabled);
  btnAll()->setEnabled(enabled);
  btnNone()->setEnabled(enabled);
  btnEject()->setEnabled(enabled);
  drillSubViews(viewPlayers(), enabled);
  viewPlayers()->tickFailed()->setEnabled(enabled);
}

void TRAppDelegate::drillSubViews(QWidget* view, bool enabled) {
  const QObjectList& children = view->children();
  for (QObject* child : children) {
    if (auto* subview = qobject_cast<QWidget*>(child)) {
      drillSubViews(subview, enabled);
      subview->setProperty("enabled", QVariant(enabled));
    }
  }
}

}  // namespace fillstation
