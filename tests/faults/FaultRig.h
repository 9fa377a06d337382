#pragma once

#include <QAbstractButton>
#include <QCoreApplication>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Bench.h"
#include "BenchFolder.h"
#include "QtMainThread.h"
#include "StepHooks.h"
#include "TempFolder.h"
#include "TestPlatform.h"
#include "ThreadWorkers.h"
#include "WindowSet.h"

namespace fillstation::faults {

// Bytes of one of the book's ten tracks, so that a track is a tenth of the copy.
inline constexpr std::int64_t kTrackBytes = 20'000;

using test::Step;

// Pauses take no time, but the main thread first runs its pending work. Made on the main thread;
// lives longer than the threads that pause.
class HurriedClock : public Clock {
 public:
  explicit HurriedClock(QtMainThread& mainThread) : mainThread_(mainThread) {}

  bool sleep(std::chrono::microseconds /*duration*/) override {
    ++pauses_;
    if (std::this_thread::get_id() == main_) {
      QCoreApplication::processEvents();
      return true;
    }
    return mainThread_.runAndWait([] {});
  }

  // How many pauses there were.
  std::int64_t pauses() const { return pauses_.load(); }

 private:
  QtMainThread& mainThread_;
  const std::thread::id main_ = std::this_thread::get_id();
  std::atomic<std::int64_t> pauses_ = 0;
};

// The whole program over a bench in a temporary folder, and the actions of the person at the
// window. Everything is real except the players, the time and the password check. Main thread,
// unless a function says otherwise; one at a time.
class FaultRig {
 public:
  // The players are plugged in and listed, in the order of their names: /dev/vp0, /dev/vp1, …
  explicit FaultRig(const std::vector<BenchPlayerPlan>& players);
  ~FaultRig();
  FaultRig(const FaultRig&) = delete;
  FaultRig& operator=(const FaultRig&) = delete;

  // Makes a player that is not plugged in, and gives the path of its image.
  std::string make(const BenchPlayerPlan& player) const;
  // Where a player's image is now.
  std::string imageOf(const std::string& name) const;

  // Pulls a player out, or plugs it in, and returns when the bench has noticed. Any thread.
  void pull(const std::string& name, const std::string& node);
  void plug(const std::string& name, const std::string& node);
  // Runs the main loop until the predicate, called on the main thread, is true; false if that takes
  // a minute, or if the program ends. Any thread.
  bool await(const std::function<bool()>& seen);

  // Writes the folder `book` and adds it: ten tracks of equal size with contents of their own, in
  // folders, beside a file of another type; and more audio on demand.
  void addBook(std::int64_t moreMiB = 0);
  // Adds the folder `book`.
  void browse();
  void tickAll();
  // Start; the credentials and OK.
  void ask();
  void confirm(const char* password = "bench");
  // Waits for the summary, clicks it away and returns its text; empty when there is none within a
  // minute.
  std::string readSummary();
  // The nodes that a summary names; none when the text isn't one.
  static std::optional<std::vector<std::string>> namedIn(const std::string& summary);
  void ejectTicked();

  std::vector<std::string> listed() const;
  std::vector<std::string> ticked() const;
  // The working controls are off, the busy indicator turns and nothing else is shown.
  bool isRunning() const;
  const TRFileList& roots() const { return *windows->songs()->list(); }

  test::TempFolder folder;  // with `bench`, `book` and the files of a case
  const std::string benchFolder = folder.makeFolder("bench");
  test::StepHooks hooks;
  test::TestLog log;
  test::TestWorkspace workspace;
  StopSource stop;
  QtMainThread mainThread{stop};
  HurriedClock clock{mainThread};

 private:
  void click(QAbstractButton* button) const;

  ThreadWorkers workers_{stop};
  Bench bench_{benchFolder, BenchServices{stop, mainThread, clock, workers_, log}};
  std::shared_ptr<void> hooked_;

 public:
  std::unique_ptr<WindowSet> windows;
};

// The texts with commas between them.
std::string joined(const std::vector<std::string>& texts);

}  // namespace fillstation::faults
