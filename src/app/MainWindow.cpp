#include "MainWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCloseEvent>
#include <QDialog>
#include <QFocusFrame>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>
#include <algorithm>

#include "Platform.h"
#include "WindowStyle.h"
#include "ui_MainWindow.h"

namespace fillstation {
namespace {

// Milliseconds: the time for a second close during a run, and the interval of looking at ejected
// players.
constexpr int kSecondClose = 5000;
constexpr int kEjectLook = 200;

constexpr int kLeastWidth = 696;  // of what is within the margins

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
  usualTitle_ = windowTitle();
  // At least; in some languages its texts need more.
  ui_->mainLayout->addStrut(kLeastWidth);
  connect(qApp, &QApplication::focusChanged, this,
          [ring = QPointer<FocusRing>()](QWidget* /*old*/, QWidget* now) mutable {
            delete ring;
            if (now != nullptr) {
              auto* const row = qobject_cast<PlayerItem*>(now->parentWidget());
              ring = new FocusRing(row != nullptr ? row : now);
            }
          });
  ui_->cmbFileType->lineEdit()->setAccessibleName(tr("File type"));
  ui_->cmbFileType->view()->setAccessibleName(tr("File types"));
  QAction* const failed = ui_->viewPlayers->tickFailed();
  ui_->btnFailed->setText(failed->text());
  ui_->btnFailed->setToolTip(failed->toolTip());
  connect(ui_->btnFailed, &QPushButton::clicked, failed, &QAction::trigger);
  connect(failed, &QAction::changed, ui_->btnFailed, [=, button = ui_->btnFailed] {
    button->setVisible(failed->isVisible());
    button->setEnabled(failed->isEnabled());
  });
  ui_->btnBrowse->setFocus();
  ui_->ejectLabel->hide();
  ui_->pbProgressBar->setLocale(QLocale::c());  // digits as everywhere else in the window
  connect(ui_->pbProgressBar, &QProgressBar::valueChanged, this, &MainWindow::showProgress);
  secondClose_.setSingleShot(true);
  connect(&secondClose_, &QTimer::timeout, this,
          [this] { ui_->pbProgressBar->setFormat(tr("%p%")); });
  connect(&ejectLook_, &QTimer::timeout, this, &MainWindow::showEjected);
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

void MainWindow::beginRun(int players) {
  running_ = players;
  begun_ = platform().clock->now();
  ui_->pbProgressBar->setFormat(tr("%p%"));
  ui_->ejectLabel->hide();
  ejectLook_.stop();
  showProgress();
}

void MainWindow::endRun(const QString& summary, bool isBad) {
  running_ = -1;
  secondClose_.stop();
  ui_->pbProgressBar->setFormat(tr("Last run: %p %"));
  setWindowTitle(usualTitle_);
  platform().workspace->showProgress({});
  if (QApplication::activeWindow() == nullptr) {
    platform().workspace->notify(summary.toStdString(), isBad);
  }
}

void MainWindow::showProgress() {
  if (running_ < 0) {
    return;
  }
  const int percent = ui_->pbProgressBar->value();
  QString text = tr("%1 %").arg(percent);
  if (percent > 0 && percent < 100) {
    const auto spent = platform().clock->now() - begun_;
    const auto left = std::chrono::ceil<std::chrono::minutes>(spent * (100 - percent) / percent);
    text = tr("%1 %, about %n min left", nullptr, static_cast<int>(left.count())).arg(percent);
  }
  setWindowTitle(QString::fromUtf8("%1 – %2").arg(text, usualTitle_));
  platform().workspace->showProgress(percent / 100.0);
}

void MainWindow::showEject(const std::vector<std::shared_ptr<TRPlayer>>& players) {
  if (!players.empty()) {
    if (!ejectLook_.isActive()) {
      ejected_.clear();
    }
    ejected_.insert(ejected_.end(), players.begin(), players.end());
    ejectLook_.start(kEjectLook);
    showEjected();
  }
}

void MainWindow::showEjected() {
  const auto count = [this](bool released) {
    return static_cast<int>(
        std::count_if(ejected_.begin(), ejected_.end(),
                      [released](const auto& player) { return player->isReleased() == released; }));
  };
  const int all = static_cast<int>(ejected_.size());
  const int released = count(true);
  QString text;
  if (released + count(false) < all) {
    text = tr("Ejecting %n players…", nullptr, all);
  } else {
    ejectLook_.stop();
    text = released < all ? tr("%1 of %n players can be unplugged.", nullptr, all).arg(released)
                          : tr("%n players can be unplugged.", nullptr, all);
  }
  ui_->ejectLabel->setText(text);
  ui_->ejectLabel->show();
}

void MainWindow::showCount(int ticked, int all) {
  ui_->playersSelectionBox->setTitle(
      all == 0 ? tr("Players") : tr("Players (%1 of %2 ticked)").arg(ticked).arg(all));
}

void MainWindow::closeEvent(QCloseEvent* event) {
  if (running_ >= 0 && !secondClose_.isActive()) {
    event->ignore();
    ui_->pbProgressBar->setFormat(
        tr("Filling %n players. Close again to stop.", nullptr, running_));
    secondClose_.start(kSecondClose);
    return;
  }
  for (QWidget* window : QApplication::topLevelWidgets()) {
    window->hide();
  }
  platform().endProgram();
}

}  // namespace fillstation
