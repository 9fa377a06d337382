#include "Alert.h"

#include <QApplication>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>

#include "DisplayText.h"
#include "ModalSession.h"
#include "ProgramIcon.h"

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

}  // namespace

Alert::Alert(QWidget* parent, const QString& message) : QMessageBox(parent) {
  setWindowTitle(QApplication::applicationDisplayName());
  const int side = style()->pixelMetric(QStyle::PM_MessageBoxIconSize);
  setIconPixmap(programPicture(side, devicePixelRatio()));
  setTextFormat(Qt::PlainText);
  setTextInteractionFlags(Qt::TextSelectableByMouse);
  setText(message);
  setStandardButtons(Ok);
  if (message.count(QLatin1Char('\n')) >= kLinesWithoutScrolling) {
    makeScroll();
  }
}

void Alert::run(QWidget* parent, const std::string& message) {
  Alert alert(parent, linesOf(message));
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
