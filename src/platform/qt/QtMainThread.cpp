#include "QtMainThread.h"

#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

#include <QCursor>
#include <QEvent>
#include <QEventLoop>
#include <QGuiApplication>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <future>
#include <utility>

namespace fillstation {
namespace {

// The clock is cheap enough to be read for each of a million files.
std::chrono::nanoseconds coarseNow() {
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

// Input on its way to a window, also if the system has already processed it.
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

// One callable on its way, shared by the waiting thread, the event that runs it, and the stop. The
// first one to claim it decides whether it runs, and reports the end.
struct HandOver {
  bool claim() { return !isClaimed.exchange(true); }

  std::atomic<bool> isClaimed = false;
  std::promise<bool> hasRun;
};

}  // namespace

MainLoopQueue::MainLoopQueue()
    : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      notifier_(wake_.get(), QSocketNotifier::Read) {
  QObject::connect(&notifier_, &QSocketNotifier::activated, &notifier_, [this] { runPresent(); });
}

void MainLoopQueue::add(std::function<void()> callable) {
  {
    const std::scoped_lock guard(lock_);
    callables_.push_back(std::move(callable));
  }
  // When the lock is free, which the main loop wants at once.
  ::eventfd_write(wake_.get(), 1);
}

void MainLoopQueue::runPresent() {
  std::size_t present = 0;
  {
    const std::scoped_lock guard(lock_);
    present = callables_.size();
    calmIfEmpty();  // a late call, for callables that have run already
  }
  for (; present > 0; --present) {
    if (const auto callable = takeFirst()) {
      callable();
    }
  }
}

std::function<void()> MainLoopQueue::takeFirst() {
  const std::scoped_lock guard(lock_);
  std::function<void()> first;
  if (!callables_.empty()) {
    first = std::move(callables_.front());
    callables_.pop_front();
    calmIfEmpty();
  }
  return first;
}

void MainLoopQueue::calmIfEmpty() {
  if (callables_.empty()) {
    eventfd_t calls = 0;
    ::eventfd_read(wake_.get(), &calls);
  }
}

// Long work on the main thread, until the loop is reached again. From time to time it lets the
// window be repainted, under a wait cursor, and be closed. Everything else waits: the queue's
// callables, timers, and input, which the queue delivers afterwards in its order. Anything that is
// dragged onto the window meanwhile is refused. Main thread; the queue outlives it.
class QtMainThread::LongWork : public QObject {
 public:
  LongWork(MainLoopQueue& queue, std::chrono::milliseconds pace)
      : queue_(queue), pace_(pace), nextLook_(coarseNow() + pace) {}
  ~LongWork() override {
    if (cursorIsSet_) {
      QGuiApplication::restoreOverrideCursor();
    }
  }

  // Call it repeatedly during the work; it looks at the window once per pace.
  void step() {
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

  bool eventFilter(QObject* receiver, QEvent* event) override {
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

 private:
  MainLoopQueue& queue_;
  const std::chrono::milliseconds pace_;
  std::chrono::nanoseconds nextLook_;
  bool cursorIsSet_ = false;
  bool isLooking_ = false;  // the events may start long work too
};

QtMainThread::QtMainThread(const StopSource& stop, std::chrono::milliseconds pace)
    : stop_(stop), pace_(pace), onStop_(stop.token(), [this] {
        queue_.add([this] { std::ranges::for_each(pauses_, &QEventLoop::quit); });
      }) {}

QtMainThread::~QtMainThread() = default;

bool QtMainThread::runAndWait(const std::function<void()>& callable) {
  if (isHere()) {
    callable();
    return true;
  }
  const auto handOver = std::make_shared<HandOver>();
  const StopSource::Callback onStop(stop_.token(), [handOver] {
    if (handOver->claim()) {
      handOver->hasRun.set_value(false);
    }
  });
  // The callable stays with the caller, who waits until it has run.
  queue_.add([this, handOver, &callable] {
    if (!stop_.requested() && handOver->claim()) {
      callable();
      handOver->hasRun.set_value(true);
    }
  });
  return handOver->hasRun.get_future().get();
}

void QtMainThread::runPending() { QCoreApplication::processEvents(); }

void QtMainThread::post(std::function<void()> callable) {
  queue_.add([this, callable = std::move(callable)] {
    if (!stop_.requested()) {
      callable();
    }
  });
}

void QtMainThread::keepWindowAlive() {
  if (!isHere()) {
    return;
  }
  if (!longWork_) {
    longWork_ = std::make_unique<LongWork>(queue_, pace_);
    queue_.add([this] { longWork_ = nullptr; });
  }
  longWork_->step();
}

bool QtMainThread::sleep(std::chrono::microseconds duration) {
  if (!isHere()) {
    return stop_.waitFor(duration);
  }
  if (duration > std::chrono::microseconds::zero() && !stop_.requested()) {
    QEventLoop pause;
    pauses_.push_back(&pause);
    QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(duration), Qt::PreciseTimer,
                       &pause, &QEventLoop::quit);
    pause.exec();
    pauses_.pop_back();
  }
  return !stop_.requested();
}

}  // namespace fillstation
