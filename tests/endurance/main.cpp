#include <unistd.h>

#include <QApplication>
#include <QTest>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "Curve.h"
#include "LongDay.h"
#include "OpenPanel.h"
#include "WindowStyle.h"

// endurance [--runs N] [--events N] [--players N]: so many runs with 8 players, and so many players
// plugged in and pulled out, in one process. Prints what the process holds as that goes on; the
// exit status is 1 when something has grown after the tenth run, or the first tenth of the events.
namespace fillstation::endurance {
namespace {

std::map<std::string, int> readArguments(int argc, char** argv) {
  std::map<std::string, int> numbers{{"--runs", 300}, {"--events", 5000}, {"--players", 8}};
  for (int at = 1; at + 1 < argc; at += 2) {
    numbers.at(argv[at]) = std::stoi(argv[at + 1]);
  }
  return numbers;
}

// What the process holds at rest: what the last players had is let go of a moment later, and what
// leaks stays. The first figures, which the others are compared with, have stayed for a moment.
Figures atRest(const std::string& folder, const Curve& curve) {
  constexpr int kRestPatienceMs = 5000;
  constexpr int kMomentMs = 100;
  Figures now = Figures::now(folder);
  const auto rests = [&] {
    if (curve.isEmpty()) {
      QTest::qWait(kMomentMs);
    }
    const Figures before = std::exchange(now, Figures::now(folder));
    return curve.isEmpty() ? now == before : curve.holds(now);
  };
  static_cast<void>(QTest::qWaitFor(rests, kRestPatienceMs));
  return now;
}

bool manyRuns(LongDay& day, const std::string& folder, int runs, std::FILE* out) {
  constexpr int kStep = 10;
  day.plugAll();
  day.addAudio();
  Curve curve(out, "runs");
  for (int run = 1; run <= runs; ++run) {
    day.run();
    if (run % kStep == 0) {
      curve.add(run, atRest(folder, curve));
    }
  }
  day.pullAll();
  return curve.isFlat();
}

bool manyEvents(LongDay& day, const std::string& folder, int events, int players, std::FILE* out) {
  constexpr int kSteps = 10;
  Curve curve(out, "events");
  int step = 1;
  for (int done = 0; done < events;) {
    day.plugAll();
    day.pullAll();
    done += 2 * players;
    if (done >= events * step / kSteps) {
      curve.add(done, atRest(folder, curve));
      ++step;
    }
  }
  return curve.isFlat();
}

// Without the allocator's caches per thread, which count what lies in them as handed out: the
// heap's figures are exact then. They are read when a process starts.
void startWithoutCaches(char** argv) {
  constexpr const char* kTunables = "GLIBC_TUNABLES";
  if (std::getenv(kTunables) == nullptr) {
    ::setenv(kTunables, "glibc.malloc.tcache_count=0", 1);
    ::execv("/proc/self/exe", argv);
  }
}

int spendDay(std::map<std::string, int> numbers, std::FILE* out) {
  const test::TempFolder folder;
  ::setenv("TMPDIR", folder.makeFolder("tmp").c_str(), 1);
  ::setenv("HOME", folder.makeFolder("home").c_str(), 1);
  LongDay day(folder.path(), numbers["--players"]);
  const bool runs = manyRuns(day, folder.path(), numbers["--runs"], out);
  const bool events =
      manyEvents(day, folder.path(), numbers["--events"], numbers["--players"], out);
  std::fputs(runs && events ? "\nNothing has grown.\n" : "\nSOMETHING HAS GROWN.\n", out);
  return runs && events ? 0 : 1;
}

}  // namespace
}  // namespace fillstation::endurance

int main(int argc, char** argv) {
  using namespace fillstation;
  endurance::startWithoutCaches(argv);
  std::FILE* const out = ::fdopen(::dup(STDOUT_FILENO), "w");
  try {
    const auto numbers = endurance::readArguments(argc, argv);
    // What the program itself says isn't of interest here.
    if (std::freopen("/dev/null", "w", stdout) == nullptr ||
        std::freopen("/dev/null", "w", stderr) == nullptr) {
      return 2;
    }
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    OpenPanel::keepSettingsAway();
    const QApplication application(argc, argv);
    QApplication::setStyle(new WindowStyle);
    QApplication::setQuitOnLastWindowClosed(false);
    return endurance::spendDay(numbers, out);
  } catch (const std::exception& problem) {
    std::fprintf(out, "endurance: %s\n", problem.what());
    return 2;
  }
}
