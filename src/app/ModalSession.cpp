#include "ModalSession.h"

#include <QApplication>
#include <QDialog>
#include <QEvent>

#include "UsbHold.h"

namespace fillstation {
namespace {

bool isInput(QEvent::Type type) {
  switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::InputMethod:
    case QEvent::TouchBegin:
    case QEvent::TabletPress:
    case QEvent::DragEnter:
    case QEvent::Drop:
      return true;
    default:
      return false;
  }
}

}  // namespace

void ModalSession::run(QDialog& dialog) {
  const UsbHold hold;
  ModalSession session(dialog);
  while (QWidget* popup = QApplication::activePopupWidget()) {
    popup->close();
  }
  qApp->installEventFilter(&session);
  dialog.setModal(false);
  dialog.show();
  dialog.raise();
  dialog.activateWindow();
  session.loop_.exec();
}

bool ModalSession::eventFilter(QObject* receiver, QEvent* event) {
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

bool ModalSession::belongsToDialog(const QWidget* widget) const {
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

}  // namespace fillstation
