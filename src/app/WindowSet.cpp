#include "WindowSet.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QShortcut>
#include <QShowEvent>
#include <algorithm>

#include "DisplayText.h"
#include "Platform.h"
#include "Url.h"
#include "ui_CredentialsPanel.h"
#include "ui_MainWindow.h"

namespace fillstation {
namespace {

// An eye, for where the theme has none.
QIcon eyeIcon(const QPalette& palette) {
  constexpr int kEyeSide = 32;
  QPixmap picture(kEyeSide, kEyeSide);
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(palette.color(QPalette::Text), 2));
  QPainterPath lids(QPointF(2, 16));
  lids.quadTo(16, 2, 30, 16);
  lids.quadTo(16, 30, 2, 16);
  painter.drawPath(lids);
  painter.setBrush(palette.color(QPalette::Text));
  painter.drawEllipse(QPointF(16, 16), 4, 4);
  return picture;
}

}  // namespace

const char kHandbook[] = FILLSTATION_HANDBOOK;

CredentialsPanel::CredentialsPanel(QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::CredentialsPanel>()) {
  ui_->setupUi(this);
  // In the desktop's own order.
  ui_->buttonBox->addButton(ui_->btnPassOk, QDialogButtonBox::AcceptRole);
  ui_->buttonBox->addButton(ui_->btnPassCancel, QDialogButtonBox::RejectRole);
  connect(ui_->btnPassCancel, &QPushButton::clicked, this, &CredentialsPanel::reject);
  parent->installEventFilter(this);
  ui_->passwordField->installEventFilter(this);
  auto* const look = ui_->passwordField->addAction(QIcon(), QLineEdit::TrailingPosition);
  look->setText(tr("Show the password"));
  look->setToolTip(look->text());
  look->setCheckable(true);
  connect(look, &QAction::toggled, this, [this](bool shown) {
    ui_->passwordField->setEchoMode(shown ? QLineEdit::Normal : QLineEdit::Password);
  });
  ui_->capsLabel->hide();
}

CredentialsPanel::~CredentialsPanel() = default;

// No toolkit reports Caps Lock. It is on if a letter is large without Shift or small with it; the
// key itself toggles the known state.
void CredentialsPanel::noticeCapsLock(const QKeyEvent& key) {
  const QString text = key.text();
  if (key.key() == Qt::Key_CapsLock) {
    ui_->capsLabel->hide();
  } else if (text.size() == 1 && text.at(0).isLetter() &&
             text.at(0).isUpper() != text.at(0).isLower()) {
    const bool isShifted = (key.modifiers() & Qt::ShiftModifier) != 0;
    ui_->capsLabel->setVisible(text.at(0).isUpper() != isShifted);
  }
}

void CredentialsPanel::showTask(const QString& text) { ui_->taskLabel->setText(text); }

bool CredentialsPanel::eventFilter(QObject* receiver, QEvent* event) {
  if (receiver == ui_->passwordField) {
    if (event->type() == QEvent::KeyPress) {
      noticeCapsLock(*static_cast<QKeyEvent*>(event));
    }
  } else if (event->type() == QEvent::WindowActivate && !isHidden()) {
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
  QAction* const look = ui_->passwordField->actions().constFirst();
  look->setIcon(QIcon::fromTheme(QStringLiteral("view-reveal-symbolic"), eyeIcon(palette())));
  look->setChecked(false);
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
  connectRun();
  players_->setArrangedObjects({});
  roots_->setArrangedObjects({});
}

WindowSet::~WindowSet() { fileView = nullptr; }

void WindowSet::makeContextMenu() {
  menu_ = new QMenu(window_->ui().lstFiles);
  delegate_->setSongsTVCContextMenu(menu_);
  delegate_->setFileMenuDelete(menu_->addAction(TRAppDelegate::tr("&Remove This Row")));
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
  const auto* help = new QShortcut(QKeySequence::HelpContents, window_.get());
  QObject::connect(help, &QShortcut::activated, window_.get(), [] {
    platform().workspace->openUrl(Url::fromPath(kHandbook, false).absoluteString());
  });
  on(panel_->ui().btnPassOk, &TRAppDelegate::btnPassOk);
  QObject::connect(panel_, &CredentialsPanel::cancelled, controller,
                   [=, this] { controller->btnPassCancel(panel_); });
  QObject::connect(ui.viewPlayers, &PlayersView::selectionChanged, controller,
                   [=, view = ui.viewPlayers] { controller->driveSelectionChanged(view); });
}

void WindowSet::connectFiles() {
  const Ui::MainWindow& ui = window_->ui();
  TRAppDelegate* controller = delegate_.get();
  ui.cmbFileType->setCompleter(nullptr);  // the typed text counts, without completion
  ui.lstFiles->showList(songs_, [box = ui.cmbFileType] { return box->currentText(); });
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
  QObject::connect(menu_, &QMenu::aboutToShow, controller, [=, this, table = ui.lstFiles] {
    delegate_->fileMenuDeleteSelected()->setText(TRAppDelegate::tr(
        "Remove %n &Selected", nullptr, static_cast<int>(table->selectedRowIndexes().size())));
    controller->menuNeedsUpdate(menu_);
  });
  const auto on = [controller](QAction* action, void (TRAppDelegate::*command)(QObject*)) {
    QObject::connect(action, &QAction::triggered, controller,
                     [=] { (controller->*command)(action); });
  };
  on(delegate_->fileMenuDelete(), &TRAppDelegate::menuFileDeleteCurrent);
  on(delegate_->fileMenuDeleteSelected(), &TRAppDelegate::menuFileDeleteSelection);
  on(delegate_->fileMenuDeleteAll(), &TRAppDelegate::menuFileDeleteAll);
}

void WindowSet::connectRun() {
  const Ui::MainWindow& ui = window_->ui();
  TRAppDelegate* controller = delegate_.get();
  QObject::connect(ui.viewPlayers, &PlayersView::counted, window_.get(), &MainWindow::showCount);
  QObject::connect(controller, &TRAppDelegate::ejected, window_.get(), &MainWindow::showEject);
  QObject::connect(controller, &TRAppDelegate::runBegan, ui.viewPlayers,
                   [=, window = window_.get(), view = ui.viewPlayers](const auto& tasks) {
                     window->beginRun(static_cast<int>(tasks.size()));
                     view->watch(tasks);
                   });
  QObject::connect(
      controller, &TRAppDelegate::runEnded, ui.viewPlayers,
      [=, window = window_.get(), view = ui.viewPlayers](const auto& summary, bool isBad) {
        view->showVerdicts();
        window->endRun(summary, isBad);
      });
  const auto showTask = [this] { panel_->showTask(taskText()); };
  QObject::connect(controller, &TRAppDelegate::setChanged, panel_, showTask);
  QObject::connect(ui.viewPlayers, &PlayersView::counted, panel_, showTask);
}

QString WindowSet::taskText() const {
  const auto players = players_->listed();
  const int ticked =
      static_cast<int>(std::count_if(players.begin(), players.end(), [](const auto& player) {
        return player->selected().isTrue();
      }));
  if (ticked == 0) {
    return CredentialsPanel::tr("No player is ticked.");
  }
  const auto roots = songs_->list();
  if (!roots || roots->empty()) {
    return CredentialsPanel::tr("The file list is empty: %n players will be erased and left empty.",
                                nullptr, ticked);
  }
  std::size_t files = 0;
  for (const auto& root : *roots) {
    files += fileCount(*root);
  }
  return CredentialsPanel::tr("%n players will be erased and filled from %1 (%2, %3).", nullptr,
                              ticked)
      .arg(CredentialsPanel::tr("%n folders", "filled from", static_cast<int>(roots->size())),
           CredentialsPanel::tr("%n files", nullptr, static_cast<int>(files)),
           fileSizeText(songs_->totalFileSize().value()));
}

}  // namespace fillstation
