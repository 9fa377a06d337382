#include "MainWindow.h"

#include <QApplication>

#include "Platform.h"
#include "ui_MainWindow.h"

namespace fillstation {

MainWindow::MainWindow() : ui_(std::make_unique<Ui::MainWindow>()) { ui_->setupUi(this); }

MainWindow::~MainWindow() = default;

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
