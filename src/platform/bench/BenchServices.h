#pragma once

#include "Clock.h"
#include "QtMainThread.h"
#include "StopSource.h"
#include "SystemLog.h"
#include "Workers.h"

namespace fillstation {

// What the bench is built on. All of it outlives the bench, and the workers have been joined when
// the bench is destroyed.
struct BenchServices {
  StopSource& stop;
  QtMainThread& mainThread;
  Clock& clock;
  Workers& workers;
  SystemLog& log;
};

}  // namespace fillstation
