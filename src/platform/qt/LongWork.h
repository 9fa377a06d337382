#pragma once

#include <QObject>
#include <chrono>

#include "MainLoopQueue.h"

namespace fillstation {

// Work that keeps the main thread from its loop, for as long as the loop is not back. Now and then
// it lets the window be repainted, under a wait cursor, and be closed. Everything else waits:
// the queue's callables, timers, and input, which the queue delivers afterwards in its order. What
// is dragged here meanwhile is refused. Main thread; the queue outlives it.
class LongWork : public QObject {
 public:
  LongWork(MainLoopQueue& queue, std::chrono::milliseconds pace);
  ~LongWork() override;

  // To be called again and again during the work; looks at the window once per pace.
  void step();

  bool eventFilter(QObject* receiver, QEvent* event) override;

 private:
  MainLoopQueue& queue_;
  const std::chrono::milliseconds pace_;
  std::chrono::nanoseconds nextLook_;
  bool cursorIsSet_ = false;
  bool isLooking_ = false;  // what runs then may be long work too
};

}  // namespace fillstation
