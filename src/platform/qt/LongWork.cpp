#include "LongWork.h"

#include <time.h>

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QPointer>
#include <memory>

namespace fillstation {
namespace {

// Of a clock that is cheap to ask for each of a million files.
std::chrono::nanoseconds coarseNow() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Input on its way to a window, or what the system has already made of it.
bool isInput(const QObject* receiver, const QEvent* event) {
  switch (event->type()) {
    case QEvent::Shortcut:
    case QEvent::InputMethod:
      return true;
    case QEvent::ShortcutOverride:  // a question, which can't wait
    case QEvent::Enter:
      return false;
    default:
      return receiver->isWindowType() && event->isInputEvent();
  }
}

bool isDrag(QEvent::Type type) {
  return type == QEvent::DragEnter || type == QEvent::DragMove || type == QEvent::Drop;
}

}  // namespace

LongWork::LongWork(MainLoopQueue& queue, std::chrono::milliseconds pace)
    : queue_(queue), pace_(pace), nextLook_(coarseNow() + pace) {}

LongWork::~LongWork() {
  if (cursorIsSet_) {
    QGuiApplication::restoreOverrideCursor();
  }
}

void LongWork::step() {
  if (isLooking_ || coarseNow() < nextLook_) {
    return;
  }
  // A program without a window has no cursor.
  if (!cursorIsSet_ && qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr) {
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    QCoreApplication::instance()->installEventFilter(this);
    cursorIsSet_ = true;
  }
  isLooking_ = true;
  queue_.hold();
  QCoreApplication::processEvents(QEventLoop::X11ExcludeTimers);
  queue_.resume();
  isLooking_ = false;
  nextLook_ = coarseNow() + pace_;
}

bool LongWork::eventFilter(QObject* receiver, QEvent* event) {
  if (isDrag(event->type())) {
    event->ignore();
    return true;
  }
  if (!isInput(receiver, event)) {
    return false;
  }
  queue_.add([receiver = QPointer(receiver), copy = std::shared_ptr<QEvent>(event->clone())] {
    if (receiver) {
      QCoreApplication::sendEvent(receiver, copy.get());
    }
  });
  return true;
}

}  // namespace fillstation
