#include <QVariant>

#include "Alert.h"
#include "Platform.h"
#include "TRAppDelegate.h"
#include "TRFileCopyTask.h"

namespace fillstation {

void TRAppDelegate::btnStartClick(QObject* /*sender*/) {
  focusBefore_ = window()->focusWidget();
  enableView(false);
  // A control that goes off hands its focus on, at last to the link: no key may open it by chance.
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
  // A run reports after every file of every player: what is shown is touched when it changes.
  const int percent = static_cast<int>(collection->progress().value());
  if (pbProgressBar()->value() != percent) {
    pbProgressBar()->setValue(percent);
    playerController()->objectsChanged();  // a format gives a player a new name
  }
}

void TRAppDelegate::onCopyResult(const std::shared_ptr<TRFileCopyTaskCollection>& collection) {
  pbCircle()->stopAnimation();
  awake_ = nullptr;
  playerController()->objectsChanged();
  std::string message = "Process Completed.";
  for (const auto& task : collection->tasks()) {
    if (task->error()) {
      message = formatText("%@\nPlayer %@ Failed in process", message, task->player()->diskName());
    }
  }
  Alert::run(window(), message);
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
