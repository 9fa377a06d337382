#include "QtClock.h"

#include <QEventLoop>
#include <QMetaObject>
#include <QTimer>

namespace fillstation {

bool QtClock::sleep(std::chrono::microseconds duration) {
  if (std::this_thread::get_id() != main_) {
    return stop_.waitFor(duration);
  }
  if (duration > std::chrono::microseconds::zero() && !stop_.requested()) {
    runLoopFor(duration);
  }
  return !stop_.requested();
}

void QtClock::runLoopFor(std::chrono::microseconds duration) {
  QEventLoop loop;
  const auto end = [&loop] { loop.quit(); };
  // Queued, because the stop comes on any thread, and perhaps before the loop runs.
  const std::size_t onStop = stop_.onRequest(
      [&loop, end] { QMetaObject::invokeMethod(&loop, end, Qt::QueuedConnection); });
  QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(duration), Qt::PreciseTimer,
                     &loop, end);
  loop.exec();
  stop_.removeCallback(onStop);
}

}  // namespace fillstation
