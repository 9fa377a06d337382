// perf_fill [--read-back] TYPE SOURCE VOLUME…: chooses the folder SOURCE and copies it to the
// volumes, one player each, with the window shown; reads it back if asked to. The log goes to
// standard error. The last line of standard output has four numbers: the seconds from choosing to
// the report of the result, the failed players, the seconds of the longest read-back of a player,
// and the highest memory in KiB.

#include <QApplication>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "PerfPorts.h"
#include "TRFileCopyTask.h"
#include "TRFileCopyTaskCollection.h"
#include "Url.h"
#include "WindowSet.h"

namespace {

using namespace fillstation;

struct Outcome {
  std::size_t failed = 0;
  std::chrono::steady_clock::time_point end;
};

std::shared_ptr<TRFileCopyTaskCollection> prepareRun(WindowSet& windows, const std::string& type,
                                                     const std::string& source,
                                                     std::size_t players) {
  windows.songs()->addTRFile(TRFile::CreateTRFilesFromURL(Url::fromPath(source, true), type));
  auto run = std::make_shared<TRFileCopyTaskCollection>(windows.songs()->list(), "admin", "secret");
  for (std::size_t index = 0; index < players; ++index) {
    const auto player = std::make_shared<TRPlayer>();
    player->setDiskName(perf::PerfPorts::nodeOf(index));
    windows.players()->addObject(player);
    run->addPlayer(player);
  }
  return run;
}

Outcome copy(WindowSet& windows, const std::shared_ptr<TRFileCopyTaskCollection>& run) {
  Outcome outcome;
  run->startAsyncCopyWithCallBack(
      nullptr,
      [&](const auto& /*receiver*/, const auto& /*context*/) {
        outcome.end = std::chrono::steady_clock::now();
        for (const auto& task : run->tasks()) {
          outcome.failed += task->error() ? 1U : 0U;
        }
        QApplication::exit(0);
      },
      [&](const auto& /*receiver*/, const auto& /*context*/) {
        windows.delegate()->updateProgress(run);
      },
      nullptr);
  QApplication::exec();
  return outcome;
}

// KiB; getrusage includes the memory of the program that started this one.
long mostMemory() {
  std::ifstream status("/proc/self/status");
  long most = 0;
  for (std::string line; std::getline(status, line);) {
    std::sscanf(line.c_str(), "VmHWM: %ld", &most);
  }
  return most;
}

}  // namespace

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  std::vector<std::string> arguments(argv + 1, argv + argc);
  const bool readsBack = std::erase(arguments, "--read-back") > 0;
  if (arguments.size() < 3) {
    std::fputs("perf_fill [--read-back] TYPE SOURCE VOLUME…\n", stderr);
    return 2;
  }
  const std::vector<std::string> volumes(arguments.begin() + 2, arguments.end());
  const perf::PerfPorts ports(volumes, readsBack);
  WindowSet windows;
  windows.window().show();
  QApplication::processEvents();
  const auto begin = std::chrono::steady_clock::now();
  const auto run = prepareRun(windows, arguments[0], arguments[1], volumes.size());
  const Outcome outcome = copy(windows, run);
  std::printf("\n%.6f %zu %.6f %ld\n", std::chrono::duration<double>(outcome.end - begin).count(),
              outcome.failed, ports.longestReadBack().count(), mostMemory());
  return outcome.failed == 0 ? 0 : 1;
}
