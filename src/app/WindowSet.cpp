#include "WindowSet.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QFocusFrame>
#include <QPainter>
#include <QShortcut>

#include "Platform.h"
#include "WindowStyle.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation {
namespace {

constexpr int kRingWidth = 2;  // as much as the frame reaches beyond the control

// The line around the control that has the focus, in whichever window: styles don't show it
// everywhere, nor before the first Tab.
class FocusRing : public QFocusFrame {
 public:
  explicit FocusRing(QWidget* around) : QFocusFrame(around) { setWidget(around); }

 protected:
  void paintEvent(QPaintEvent* /*event*/) override {
    QPainter painter(this);
    QPen pen(readable(palette().color(QPalette::Highlight), palette().color(QPalette::Window),
                      kVisibleOutline),
             kRingWidth);
    pen.setJoinStyle(Qt::MiterJoin);
    painter.setPen(pen);
    const int inside = kRingWidth / 2;
    painter.drawRect(rect().adjusted(inside, inside, -inside, -inside));
  }
};

}  // namespace

MainWindow::MainWindow() : ui_(std::make_unique<Ui::MainWindow>()) {
  ui_->setupUi(this);
  connect(qApp, &QApplication::focusChanged, this,
          [ring = QPointer<FocusRing>()](QWidget* /*old*/, QWidget* now) mutable {
            delete ring;
            if (now != nullptr) {
              ring = new FocusRing(now);
            }
          });
  ui_->cmbFileType->lineEdit()->setAccessibleName(tr("File type"));
  ui_->cmbFileType->view()->setAccessibleName(tr("File types"));
}

MainWindow::~MainWindow() = default;

void MainWindow::comeToFront() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  QWidget* front = this;
  front->raise();
  for (auto* dialog : findChildren<QDialog*>()) {
    if (dialog->isVisible()) {
      front = dialog;
      front->raise();
    }
  }
  front->activateWindow();
}

void MainWindow::closeEvent(QCloseEvent* /*event*/) {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    window->hide();
  }
  platform().endProgram();
}

WindowSet::WindowSet()
    : window_(std::make_unique<MainWindow>()),
      panel_(new CredentialsPanel(window_.get())),
      players_(std::make_shared<ArrayController<TRPlayer>>()),
      roots_(std::make_shared<ArrayController<TRFile>>()),
      songs_(std::make_shared<TRSongsTVC>()),
      delegate_(std::make_shared<TRAppDelegate>()) {
  makeContextMenu();
  fillFields();
  connectButtons();
  connectFiles();
  players_->setArrangedObjects({});
  roots_->setArrangedObjects({});
}

WindowSet::~WindowSet() { fileView = nullptr; }

void WindowSet::makeContextMenu() {
  menu_ = new QMenu(window_->ui().lstFiles);
  delegate_->songsTVCContextMenu.set(menu_);
  delegate_->fileMenuDelete.set(menu_->addAction(TRAppDelegate::tr("&Remove from List")));
  delegate_->fileMenuDeleteSelected.set(menu_->addAction(TRAppDelegate::tr("Remove &Selected")));
  delegate_->fileMenuDeleteAll.set(menu_->addAction(TRAppDelegate::tr("Remove &All")));
}

void WindowSet::fillFields() {
  const Ui::MainWindow& ui = window_->ui();
  delegate_->playerController.set(players_);
  delegate_->filesController.set(roots_);
  delegate_->songsTVC.set(songs_);
  delegate_->window.set(window_.get());
  delegate_->wndPasswordDialog.set(panel_);
  delegate_->userNameField.set(panel_->ui().userNameField);
  delegate_->passwordField.set(panel_->ui().passwordField);
  delegate_->pbProgressBar.set(ui.pbProgressBar);
  delegate_->pbCircle.set(ui.pbCircle);
  delegate_->deviceScrollbar.set(ui.deviceScrollbar);
  delegate_->viewPlayers.set(ui.viewPlayers);
  delegate_->fileView.set(ui.viewPlayers);
  delegate_->playersSelectionBox.set(ui.playersSelectionBox);
  delegate_->cmbFileType.set(ui.cmbFileType);
  delegate_->lstFiles.set(ui.lstFiles);
  delegate_->lblMaxCapSize.set(ui.lblMaxCapSize);
  delegate_->lblFreeDiskSpaceLeft.set(ui.lblFreeDiskSpaceLeft);
  delegate_->tirellLinkBtn.set(ui.tirellLinkBtn);
  delegate_->btnBrowse.set(ui.btnBrowse);
  delegate_->btnStart.set(ui.btnStart);
  delegate_->btnAll.set(ui.btnAll);
  delegate_->btnNone.set(ui.btnNone);
  delegate_->btnEject.set(ui.btnEject);
}

void WindowSet::connectButtons() {
  const Ui::MainWindow& ui = window_->ui();
  TRAppDelegate* controller = delegate_.get();
  ui.viewPlayers->follow(players_, [start = ui.btnStart] { return start->isEnabled(); });
  const auto on = [controller](QPushButton* button, void (TRAppDelegate::*command)(QObject*)) {
    QObject::connect(button, &QPushButton::clicked, controller,
                     [=] { (controller->*command)(button); });
  };
  on(ui.btnAll, &TRAppDelegate::selectAllClicked);
  on(ui.btnNone, &TRAppDelegate::selectNoneClicked);
  on(ui.btnEject, &TRAppDelegate::ejectSelectedPlayers);
  on(ui.btnBrowse, &TRAppDelegate::btnBrowseFileClicked);
  on(ui.btnStart, &TRAppDelegate::btnStartClick);
  on(ui.tirellLinkBtn, &TRAppDelegate::tirellLinkClicked);
  on(panel_->ui().btnPassOk, &TRAppDelegate::btnPassOk);
  QObject::connect(panel_, &CredentialsPanel::cancelled, controller,
                   [=, this] { controller->btnPassCancel(panel_); });
  QObject::connect(ui.viewPlayers, &PlayersView::selectionChanged, controller,
                   [=, view = ui.viewPlayers] { controller->driveSelectionChanged(view); });
}

void WindowSet::connectFiles() {
  const Ui::MainWindow& ui = window_->ui();
  TRAppDelegate* controller = delegate_.get();
  ui.cmbFileType->setCompleter(nullptr);  // the typed text counts, not what it could become
  ui.lstFiles->showList(songs_);
  ui.lstFiles->setContextMenu(menu_);
  // The table belongs to its window and outlives the list.
  songs_->setTblView(std::shared_ptr<FileTable>(ui.lstFiles, [](FileTable*) {}));
  delegate_->setOpenPanel(OpenPanel::runner(window_.get()));
  QObject::connect(ui.lstFiles, &FileTable::dropped, controller, &TRAppDelegate::addRoots);
  QObject::connect(ui.lstFiles, &FileTable::deletePressed, controller,
                   &TRAppDelegate::removeSelectedRows);
  // Beside the button's own mnemonic.
  const auto* open = new QShortcut(QKeySequence::Open, window_.get());
  QObject::connect(open, &QShortcut::activated, ui.btnBrowse, &QPushButton::click);
  QObject::connect(menu_, &QMenu::aboutToShow, controller,
                   [=, this] { controller->menuNeedsUpdate(menu_); });
  const auto on = [controller](QAction* action, void (TRAppDelegate::*command)(QObject*)) {
    QObject::connect(action, &QAction::triggered, controller,
                     [=] { (controller->*command)(action); });
  };
  on(delegate_->fileMenuDelete(), &TRAppDelegate::menuFileDeleteCurrent);
  on(delegate_->fileMenuDeleteSelected(), &TRAppDelegate::menuFileDeleteSelection);
  on(delegate_->fileMenuDeleteAll(), &TRAppDelegate::menuFileDeleteAll);
}

}  // namespace fillstation
