#include "MainWindow.h"

#include <QApplication>
#include <QDialog>

#include "FocusRing.h"
#include "Platform.h"
#include "ui_MainWindow.h"

namespace fillstation {

MainWindow::MainWindow() : ui_(std::make_unique<Ui::MainWindow>()) {
  ui_->setupUi(this);
  FocusRing::followFocus(this);
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
  hideAllWindows();
  platform().endProgram();
}

void hideAllWindows() {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    window->hide();
  }
}

}  // namespace fillstation
