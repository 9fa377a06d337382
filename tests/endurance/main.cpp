#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QTest>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "FaultRig.h"
#include "OpenPanel.h"
#include "WindowStyle.h"

// endurance [--runs N] [--events N] [--players N]: fills 8 players N times, and plugs players in
// and out N times, in one process. Prints the process's figures at intervals. The exit status is 1
// if something has grown after the tenth run, or after the first tenth of the events.
namespace fillstation::endurance {
namespace {

// One-time growth of caches, in steps of up to 28 KiB, at any run: 28 bytes for each filled player.
constexpr long kHeapPlayKiB = 64;

template <class Iterator>
long entriesOf(const std::string& folder) {
  return std::distance(Iterator(folder), Iterator());
}

// The threads of the process, without those that Qt paints with: they come with a painting and
// stay for 30 s, so waiting for them would take that long after each run.
long threadsNow() {
  long threads = 0;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name;
    std::getline(std::ifstream(task.path() / "comm"), name);
    threads += name == "Thread (pooled)" ? 0 : 1;
  }
  return threads;
}

// A volume's folder may go while it is being read.
long filesBelow(const std::string& folder) {
  for (;;) {
    try {
      return entriesOf<std::filesystem::recursive_directory_iterator>(folder);
    } catch (const std::filesystem::filesystem_error& error) {
      const bool gone = error.code() == std::errc::no_such_file_or_directory;
      if (!gone || !std::filesystem::exists(folder)) {
        throw;
      }
    }
  }
}

long residentKiBNow() {
  long size = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * (::sysconf(_SC_PAGESIZE) / 1024);
}

// The figures of the process at one moment.
struct Figures {
  long heapKiB = 0;      // handed out by the allocator, in all arenas; 0 where it doesn't count
  long residentKiB = 0;  // memory that the process has
  long descriptors = 0;
  long threads = 0;
  long children = 0;  // processes started and not waited for: 0, or 1 for some
  long files = 0;     // entries below the folder, which is all that the program writes to

  static Figures now(const std::string& folder) {
    const struct mallinfo2 heap = ::mallinfo2();
    Figures figures;
    figures.heapKiB = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
    figures.residentKiB = residentKiBNow();
    // One of them is the look itself.
    figures.descriptors = entriesOf<std::filesystem::directory_iterator>("/proc/self/fd") - 1;
    figures.threads = threadsNow();
    figures.children = ::waitpid(-1, nullptr, WNOHANG | WNOWAIT) < 0 ? 0 : 1;
    figures.files = filesBelow(folder);
    return figures;
  }
  bool operator==(const Figures&) const = default;
};

// Figures after a number of repetitions, printed as a table while they come in; and whether they
// stay constant from the first one on.
class Curve {
 public:
  // `counted` heads the first column.
  Curve(std::FILE* out, const char* counted) : out_(out) {
    std::fprintf(out_, "\n%8s %10s %13s %12s %8s %9s %6s\n", counted, "heap KiB", "resident KiB",
                 "descriptors", "threads", "children", "files");
  }

  // The figures of the process at rest: the last players' memory is released a moment later, and
  // leaks stay. The first figures, to which the others are compared, must have been stable for a
  // moment.
  void add(int count, const std::string& folder) {
    constexpr int kRestPatienceMs = 5000;
    constexpr int kMomentMs = 100;
    Figures now = Figures::now(folder);
    const auto rests = [&] {
      if (all_.empty()) {
        QTest::qWait(kMomentMs);
      }
      const Figures before = std::exchange(now, Figures::now(folder));
      return all_.empty() ? now == before : growth(all_.front(), now).empty();
    };
    static_cast<void>(QTest::qWaitFor(rests, kRestPatienceMs));
    std::fprintf(out_, "%8d %10ld %13ld %12ld %8ld %9ld %6ld\n", count, now.heapKiB,
                 now.residentKiB, now.descriptors, now.threads, now.children, now.files);
    std::fflush(out_);
    all_.push_back(now);
  }

  // Prints the growth between the first and the last figures; true if there is none.
  bool isFlat() const {
    const auto grown = growth(all_.front(), all_.back());
    for (const std::string& text : grown) {
      std::fprintf(out_, "GROWN: %s\n", text.c_str());
    }
    return grown.empty();
  }

 private:
  // The figures that have grown, one text each.
  static std::vector<std::string> growth(const Figures& before, const Figures& after) {
    std::vector<std::string> grown;
    const auto compare = [&](const char* what, long first, long last, long play) {
      if (last > first + play) {
        grown.push_back(std::string(what) + ", from " + std::to_string(first) + " to " +
                        std::to_string(last));
      }
    };
    compare("the heap", before.heapKiB, after.heapKiB, kHeapPlayKiB);
    compare("open descriptors", before.descriptors, after.descriptors, 0);
    compare("threads", before.threads, after.threads, 0);
    compare("child processes", 0, after.children, 0);
    compare("files", before.files, after.files, 0);
    return grown;
  }

  std::FILE* out_;
  std::vector<Figures> all_;
};

// The window over the virtual bench, used for a long time. Throws if the window doesn't behave as
// it should.
class LongDay {
 public:
  // The folder is everything that the program writes to.
  LongDay(std::string folder, int players, std::FILE* out)
      : folder_(std::move(folder)), players_(players), out_(out) {
    for (int player = 0; player < players; ++player) {
      BenchPlayerPlan plan;
      plan.name = name(player);
      rig_.make(plan);
    }
    QTest::qWait(100);
    idleThreads_ = threadsNow();
  }

  bool manyRuns(int runs) {
    constexpr int kStep = 10;
    plugAll();
    rig_.addBook();
    Curve curve(out_, "runs");
    for (int run = 1; run <= runs; ++run) {
      fillAll();
      if (run % kStep == 0) {
        curve.add(run, folder_);
      }
    }
    pullAll();
    return curve.isFlat();
  }

  bool manyEvents(int events) {
    constexpr int kSteps = 10;
    Curve curve(out_, "events");
    int step = 1;
    for (int done = 0; done < events;) {
      plugAll();
      pullAll();
      done += 2 * players_;
      if (done >= events * step / kSteps) {
        curve.add(done, folder_);
        ++step;
      }
    }
    return curve.isFlat();
  }

 private:
  static std::string name(int player) { return "player" + std::to_string(player); }

  void plugAll() {
    for (int player = 0; player < players_; ++player) {
      plugPlayer(rig_.benchFolder, name(player));
    }
    awaitListed(players_);
  }

  void pullAll() {
    for (int player = 0; player < players_; ++player) {
      unplugPlayer(rig_.benchFolder, name(player));
    }
    awaitListed(0);
  }

  void awaitListed(int count) {
    await([&] { return rig_.listed().size() == static_cast<std::size_t>(count); });
  }

  // Says so at once: the destructors wait for workers, and a stuck one would keep the message.
  [[noreturn]] void fail(const std::string& what) const {
    std::fprintf(out_, "%s, with %ld threads of %ld\n", what.c_str(), threadsNow(), idleThreads_);
    std::fflush(out_);
    throw std::runtime_error(what);
  }

  // Waits until the predicate is true and no worker is left; then clears log and notifications.
  void await(const std::function<bool()>& condition) {
    if (!rig_.await([&] { return condition() && threadsNow() <= idleThreads_; })) {
      fail("waited in vain");
    }
    rig_.log.clear();
    rig_.workspace = {};
  }

  // Fills all players, from All to the dismissed summary, and expects that none has failed.
  void fillAll() {
    rig_.tickAll();
    rig_.ask();
    rig_.confirm();
    const std::string summary = rig_.readSummary();
    if (summary != "Process Completed.") {
      fail("the summary: " + summary);
    }
    await([] { return true; });
  }

  const std::string folder_;
  const int players_;
  std::FILE* const out_;
  faults::FaultRig rig_{{}};
  long idleThreads_ = 0;
};

std::map<std::string, int> readArguments(int argc, char** argv) {
  std::map<std::string, int> numbers{{"--runs", 300}, {"--events", 5000}, {"--players", 8}};
  for (int at = 1; at + 1 < argc; at += 2) {
    numbers.at(argv[at]) = std::stoi(argv[at + 1]);
  }
  return numbers;
}

// Without the allocator's per-thread caches, which count their contents as used, and with one
// arena, since each has its own bookkeeping: then the heap's figures are exact. These variables are
// read when a process starts.
void startWithPlainHeap(char** argv) {
  constexpr const char* kTunables = "GLIBC_TUNABLES";
  if (std::getenv(kTunables) == nullptr) {
    ::setenv(kTunables, "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1", 1);
    ::execv("/proc/self/exe", argv);
  }
}

int spendDay(std::map<std::string, int> numbers, std::FILE* out) {
  const test::TempFolder folder;
  ::setenv("TMPDIR", folder.makeFolder("tmp").c_str(), 1);
  ::setenv("HOME", folder.makeFolder("home").c_str(), 1);
  LongDay day(folder.path(), numbers["--players"], out);
  const bool runs = day.manyRuns(numbers["--runs"]);
  const bool events = day.manyEvents(numbers["--events"]);
  std::fputs(runs && events ? "\nNothing has grown.\n" : "\nSOMETHING HAS GROWN.\n", out);
  return runs && events ? 0 : 1;
}

}  // namespace
}  // namespace fillstation::endurance

int main(int argc, char** argv) {
  using namespace fillstation;
  endurance::startWithPlainHeap(argv);
  std::FILE* const out = ::fdopen(::dup(STDOUT_FILENO), "w");
  try {
    const auto numbers = endurance::readArguments(argc, argv);
    // The program's own output doesn't matter here.
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
