// perf_reports ours|bare TASKS REPORTS: the progress reports of a run without its copying, or as
// many blocking calls of an empty function on the main thread by as many threads, one call at a
// time. The last line of standard output is the microseconds of one report, by how many
// milliseconds a timer of the main thread was late at most in 99 of 100 cases, and the figure shown
// at the end.
//
// perf_reports rows|norows TASKS REPORTS: each task makes five reports a second, as at 5 MB/s, with
// the players' rows following their tasks or not, while the busy indicator turns. The first figure
// is then the main thread's share of a processor.

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "PerfPorts.h"
#include "TRFileCopyTask.h"
#include "TRFileCopyTaskCollection.h"
#include "WindowSet.h"

namespace {

using namespace fillstation;

// How late the timer's events come, in milliseconds.
class Lateness {
 public:
  explicit Lateness(std::chrono::milliseconds period) {
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &timer_, [this, period] {
      late_.push_back(static_cast<double>(since_.nsecsElapsed()) / 1e6 -
                      static_cast<double>(period.count()));
      since_.restart();
    });
    since_.start();
    timer_.start(period);
  }
  double most() {
    std::sort(late_.begin(), late_.end());
    return late_.empty() ? 0 : std::max(0.0, late_[late_.size() * 99 / 100]);
  }

 private:
  QTimer timer_;
  QElapsedTimer since_;
  std::vector<double> late_;
};

constexpr std::chrono::milliseconds kPace(200);  // a MiB of a player of 5 MB/s

// The processor time of the calling thread.
double ownSeconds() {
  std::timespec spent{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
  return static_cast<double>(spent.tv_sec) + static_cast<double>(spent.tv_nsec) / 1e9;
}

// Each task makes its reports, with a pause behind each.
void runOurs(WindowSet& windows, const std::shared_ptr<TRFileCopyTaskCollection>& run, int reports,
             std::chrono::milliseconds pause) {
  // The targets of the reports belong to the process: a run without players sets them and ends.
  const auto empty = std::make_shared<TRFileCopyTaskCollection>(run->files(), "admin", "secret");
  empty->startAsyncCopyWithCallBack(
      nullptr, [](const auto& /*receiver*/, const auto& /*context*/) {},
      [&](const auto& /*receiver*/, const auto& /*context*/) {
        windows.delegate()->updateProgress(run);
      },
      nullptr);
  std::vector<std::thread> threads;
  for (const auto& task : run->tasks()) {
    task->setTotalSize(reports);
    // Players don't report in step.
    const auto ahead = pause * threads.size() / run->tasks().size();
    threads.emplace_back([task, reports, pause, ahead] {
      std::this_thread::sleep_for(ahead);
      task->begin(Step::kCopy);
      for (int report = 0; report < reports; ++report) {
        task->updateProgressWith(1);
        std::this_thread::sleep_for(pause);
      }
    });
  }
  std::thread([&threads] {
    for (auto& thread : threads) {
      thread.join();
    }
    QMetaObject::invokeMethod(
        qApp, [] { QApplication::exit(0); }, Qt::QueuedConnection);
  }).detach();
  QApplication::exec();
}

// Threads that make blocking calls of an empty function on the main thread, one at a time.
void runBare(int threads, int calls) {
  QObject receiver;
  std::mutex oneCall;
  std::vector<std::thread> all;
  for (int index = 0; index < threads; ++index) {
    all.emplace_back([&, calls] {
      for (int call = 0; call < calls; ++call) {
        const std::scoped_lock guard(oneCall);
        QMetaObject::invokeMethod(
            &receiver, [] {}, Qt::BlockingQueuedConnection);
      }
    });
  }
  std::thread last([&all] {
    for (auto& thread : all) {
      thread.join();
    }
    QMetaObject::invokeMethod(
        qApp, [] { QApplication::exit(0); }, Qt::QueuedConnection);
  });
  QApplication::exec();
  last.join();
}

}  // namespace

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  if (argc < 4) {
    std::fputs("perf_reports ours|bare|rows|norows TASKS REPORTS\n", stderr);
    return 2;
  }
  const std::string_view mode = argv[1];
  const bool isCalm = mode.ends_with("rows");
  const int tasks = std::atoi(argv[2]);
  const int reports = std::atoi(argv[3]);
  const perf::PerfPorts ports(std::vector<std::string>(static_cast<std::size_t>(tasks), "/"));
  WindowSet windows;
  const auto run =
      std::make_shared<TRFileCopyTaskCollection>(std::make_shared<TRFileList>(), "admin", "secret");
  for (int index = 0; index < tasks; ++index) {
    const auto player = std::make_shared<TRPlayer>();
    player->setDiskName(perf::PerfPorts::nodeOf(static_cast<std::size_t>(index)));
    windows.players()->addObject(player);
  }
  windows.window().show();
  QApplication::processEvents();
  // Where the main thread's time is measured, the timer should need little of it.
  Lateness lateness(std::chrono::milliseconds(isCalm ? 50 : 10));
  QElapsedTimer elapsed;
  elapsed.start();
  const double before = ownSeconds();
  if (mode == "bare") {
    runBare(tasks, reports);
  } else {
    for (const auto& player : windows.players()->listed()) {
      run->addPlayer(player);
    }
    if (isCalm) {
      windows.delegate()->pbCircle()->startAnimation();
    }
    if (mode == "rows") {
      emit windows.delegate()->runBegan(run->tasks());
    }
    runOurs(windows, run, reports, isCalm ? kPace : std::chrono::milliseconds(0));
  }
  const double seconds = static_cast<double>(elapsed.nsecsElapsed()) / 1e9;
  std::printf("\n%.4f %.3f %d\n",
              isCalm ? (ownSeconds() - before) / seconds : seconds * 1e6 / (tasks * reports),
              lateness.most(), static_cast<int>(run->progress().value()));
  std::fflush(stdout);
  std::_Exit(0);
}
