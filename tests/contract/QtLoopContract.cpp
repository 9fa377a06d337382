#include <QAbstractEventDispatcher>
#include <QCoreApplication>

#include "LoopContract.h"
#include "QtMainThread.h"
#include "StopSource.h"
#include "ThreadWorkers.h"

namespace fillstation::test {
namespace {

class QtBackEnd : public LoopBackEnd {
 public:
  ~QtBackEnd() override { stop_.request(); }

  MainThread& mainThread() override { return mainThread_; }
  Clock& clock() override { return clock_; }
  Workers& workers() override { return workers_; }
  void requestStop() override { stop_.request(); }
  void runLoopUntil(const std::function<bool()>& condition) override {
    while (!condition()) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
  }
  void runLoopDry() override {
    while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
    }
  }

 private:
  StopSource stop_;
  QtMainThread mainThread_{stop_};
  QtClock clock_{stop_};
  ThreadWorkers workers_{stop_};
};

std::unique_ptr<LoopBackEnd> makeQtBackEnd() { return std::make_unique<QtBackEnd>(); }

const LoopBackEndMaker kQt{"qt", &makeQtBackEnd};

INSTANTIATE_TEST_SUITE_P(Qt, MainThreadContract, testing::Values(kQt));
INSTANTIATE_TEST_SUITE_P(Qt, ClockContract, testing::Values(kQt));
INSTANTIATE_TEST_SUITE_P(Qt, WorkersContract, testing::Values(kQt));

}  // namespace
}  // namespace fillstation::test
