#include "ModalSession.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>
#include <array>

#include "DisplayText.h"
#include "WindowStyle.h"

namespace fillstation {
namespace {

constexpr int kLinesWithoutScrolling = 12;

// Line feeds of the message itself are kept; its other bytes are shown harmlessly.
QString linesOf(const std::string& message) {
  QStringList lines;
  for (const auto& line : QByteArray::fromStdString(message).split('\n')) {
    lines.append(
        displayText(std::string_view(line.constData(), static_cast<std::size_t>(line.size()))));
  }
  return lines.join(QLatin1Char('\n'));
}

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

Alert::Alert(QWidget* parent, const QString& message, Icon icon) : QMessageBox(parent) {
  setWindowTitle(QApplication::applicationDisplayName());
  const int side = style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
  if (icon == NoIcon) {
    setIconPixmap(programPicture(side, devicePixelRatio()));
  } else {
    setIcon(icon);
  }
  setTextFormat(Qt::PlainText);
  setTextInteractionFlags(Qt::TextSelectableByMouse);
  setText(message);
  setStandardButtons(Ok);
  button(Ok)->setText(QStringLiteral("OK"));  // in every language, as the message
  if (message.count(QLatin1Char('\n')) >= kLinesWithoutScrolling) {
    makeScroll();
  }
}

void Alert::run(QWidget* parent, const std::string& message, Icon icon) {
  Alert alert(parent, linesOf(message), icon);
  QApplication::alert(parent);  // asks for attention unless it has it
  runModalSession(alert);
}

void Alert::keyPressEvent(QKeyEvent* event) {
  if (bar_ != nullptr && (event->key() == Qt::Key_PageUp || event->key() == Qt::Key_PageDown)) {
    QCoreApplication::sendEvent(bar_, event);
    return;
  }
  QMessageBox::keyPressEvent(event);
}

void Alert::makeScroll() {
  auto* label = findChild<QLabel*>(QStringLiteral("qt_msgbox_label"));
  auto* scroll = new QScrollArea(this);
  bar_ = scroll->verticalScrollBar();
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setWidgetResizable(true);
  scroll->setFocusPolicy(Qt::NoFocus);
  const int line = fontMetrics().lineSpacing();
  scroll->setFixedHeight(line * kLinesWithoutScrolling);
  scroll->setMinimumWidth(label->sizeHint().width() + 2 * line);
  delete layout()->replaceWidget(label, scroll);
  label->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  // In a mirrored window the text, which is not, begins where the scroll bar is.
  label->setContentsMargins(line / 4, 0, line / 4, 0);
  scroll->setWidget(label);
}

}  // namespace fillstation
