#pragma once

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <functional>

namespace fillstation::test {

// Runs the main loop until the condition holds.
inline void runLoopUntil(const std::function<bool()>& condition) {
  while (!condition()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  }
}

// The same for a minute at most; whether the condition holds then.
inline bool runLoopAMinute(const std::function<bool()>& condition) {
  const QDeadlineTimer minute(60'000);
  runLoopUntil([&] { return condition() || minute.hasExpired(); });
  return condition();
}

// Runs the main loop's pending work until there is none.
inline void runLoopDry() {
  while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
  }
}

}  // namespace fillstation::test
