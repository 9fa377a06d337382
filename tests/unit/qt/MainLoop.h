#pragma once

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <functional>

namespace fillstation::test {

// Runs the main loop until the condition holds.
inline void runLoopUntil(const std::function<bool()>& condition) {
  while (!condition()) {
    QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
  }
}

// Runs what the main loop has to do now, until it has nothing to do.
inline void runLoopDry() {
  while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
  }
}

}  // namespace fillstation::test
