#include "WindowSet.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFocusFrame>
#include <QPainter>
#include <QShortcut>
#include <QShowEvent>

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

CredentialsPanel::CredentialsPanel(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::CredentialsPanel>()) {
  ui_->setupUi(this);
  connect(ui_->btnPassCancel, &QPushButton::clicked, this, &CredentialsPanel::reject);
  parent->installEventFilter(this);
}

CredentialsPanel::~CredentialsPanel() = default;

bool CredentialsPanel::eventFilter(QObject* /*receiver*/, QEvent* event) {
  if (event->type() == QEvent::WindowActivate && !isHidden()) {
    activateWindow();
  }
  return false;
}

void CredentialsPanel::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (event->spontaneous()) {
    return;  // back from the task bar, as it was left
  }
  QRect place = geometry();
  place.moveCenter(parentWidget()->geometry().center());
  setGeometry(place);
  QLineEdit* field = ui_->userNameField->text().isEmpty() ? ui_->userNameField : ui_->passwordField;
  field->setFocus();
  field->selectAll();
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
  delegate_->setSongsTVCContextMenu(menu_);
  delegate_->setFileMenuDelete(menu_->addAction(TRAppDelegate::tr("&Remove from List")));
  delegate_->setFileMenuDeleteSelected(menu_->addAction(TRAppDelegate::tr("Remove &Selected")));
  delegate_->setFileMenuDeleteAll(menu_->addAction(TRAppDelegate::tr("Remove &All")));
}

void WindowSet::fillFields() {
  const Ui::MainWindow& ui = window_->ui();
  delegate_->setPlayerController(players_);
  delegate_->setFilesController(roots_);
  delegate_->setSongsTVC(songs_);
  delegate_->setWindow(window_.get());
  delegate_->setWndPasswordDialog(panel_);
  delegate_->setUserNameField(panel_->ui().userNameField);
  delegate_->setPasswordField(panel_->ui().passwordField);
  delegate_->setPbProgressBar(ui.pbProgressBar);
  delegate_->setPbCircle(ui.pbCircle);
  delegate_->setDeviceScrollbar(ui.deviceScrollbar);
  delegate_->setViewPlayers(ui.viewPlayers);
  delegate_->setFileView(ui.viewPlayers);
  delegate_->setPlayersSelectionBox(ui.playersSelectionBox);
  delegate_->setCmbFileType(ui.cmbFileType);
  delegate_->setLstFiles(ui.lstFiles);
  delegate_->setLblMaxCapSize(ui.lblMaxCapSize);
  delegate_->setLblFreeDiskSpaceLeft(ui.lblFreeDiskSpaceLeft);
  delegate_->setTirellLinkBtn(ui.tirellLinkBtn);
  delegate_->setBtnBrowse(ui.btnBrowse);
  delegate_->setBtnStart(ui.btnStart);
  delegate_->setBtnAll(ui.btnAll);
  delegate_->setBtnNone(ui.btnNone);
  delegate_->setBtnEject(ui.btnEject);
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
