#include "QtClock.h"

#include <QEventLoop>
#include <QTimer>

namespace fillstation {

QtClock::QtClock(const StopSource& stop)
    : stop_(stop), onStop_(stop.token(), [this] { queue_.add([this] { endPauses(); }); }) {}

bool QtClock::sleep(std::chrono::microseconds duration) {
  if (std::this_thread::get_id() != main_) {
    return stop_.waitFor(duration);
  }
  if (duration > std::chrono::microseconds::zero() && !stop_.requested()) {
    runLoopFor(duration);
  }
  return !stop_.requested();
}

void QtClock::endPauses() {
  for (QEventLoop* const pause : pauses_) {
    pause->quit();
  }
}

void QtClock::runLoopFor(std::chrono::microseconds duration) {
  QEventLoop pause;
  pauses_.push_back(&pause);
  QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(duration), Qt::PreciseTimer,
                     &pause, &QEventLoop::quit);
  pause.exec();
  pauses_.pop_back();
}

}  // namespace fillstation
