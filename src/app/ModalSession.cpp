#include "ModalSession.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>
#include <QEventLoop>
#include <algorithm>
#include <array>

namespace fillstation {
namespace {

bool isInput(QEvent::Type type) {
  constexpr std::array kInputs{QEvent::MouseButtonPress,    QEvent::MouseButtonRelease,
                               QEvent::MouseButtonDblClick, QEvent::Wheel,
                               QEvent::ContextMenu,         QEvent::KeyPress,
                               QEvent::KeyRelease,          QEvent::Shortcut,
                               QEvent::ShortcutOverride,    QEvent::InputMethod,
                               QEvent::TouchBegin,          QEvent::TabletPress,
                               QEvent::DragEnter,           QEvent::Drop};
  return std::find(kInputs.begin(), kInputs.end(), type) != kInputs.end();
}

// Swallows input to every other window and ends its loop when the dialog is hidden.
class ModalSession : public QObject {
 public:
  explicit ModalSession(QDialog& dialog) : dialog_(dialog) {}

  void wait() { loop_.exec(); }

  bool eventFilter(QObject* receiver, QEvent* event) override {
    // A window that is minimised is hidden too, but by the desktop.
    if (receiver == &dialog_ && event->type() == QEvent::Hide && !event->spontaneous()) {
      loop_.quit();
      return false;
    }
    const auto* widget = qobject_cast<QWidget*>(receiver);
    if (widget == nullptr || !isInput(event->type()) || belongsToDialog(widget)) {
      return false;
    }
    if (event->type() == QEvent::MouseButtonPress) {
      dialog_.raise();
      dialog_.activateWindow();
    }
    return true;
  }

 private:
  bool belongsToDialog(const QWidget* widget) const {
    // Lists that a field of the dialog drops down are windows of their own, some without a parent;
    // every pop-up of another window was closed at the beginning.
    if (widget->window()->windowType() == Qt::Popup) {
      return true;
    }
    while (widget != nullptr && widget != &dialog_) {
      widget = widget->parentWidget();
    }
    return widget != nullptr;
  }

  QDialog& dialog_;
  QEventLoop loop_;
};

}  // namespace

void runModalSession(QDialog& dialog) {
  const UsbHold hold;
  ModalSession modal(dialog);
  while (QWidget* popup = QApplication::activePopupWidget()) {
    popup->close();
  }
  qApp->installEventFilter(&modal);
  dialog.setModal(false);
  dialog.show();
  dialog.raise();
  dialog.activateWindow();
  modal.wait();
}

}  // namespace fillstation
