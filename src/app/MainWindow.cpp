#include "MainWindow.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDialog>
#include <QFocusFrame>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>

#include "Platform.h"
#include "WindowStyle.h"
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

}  // namespace fillstation
