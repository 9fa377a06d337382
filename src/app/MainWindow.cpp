#include "MainWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QLineEdit>

#include "FocusRing.h"
#include "Platform.h"
#include "ui_MainWindow.h"

namespace fillstation {

MainWindow::MainWindow() : ui_(std::make_unique<Ui::MainWindow>()) {
  ui_->setupUi(this);
  FocusRing::followFocus(this);
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
  hideAllWindows();
  platform().endProgram();
}

void hideAllWindows() {
  for (QWidget* window : QApplication::topLevelWidgets()) {
    window->hide();
  }
}

}  // namespace fillstation
