#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Bench.h"
#include "HurriedClock.h"
#include "TempFolder.h"
#include "ThreadWorkers.h"
#include "WindowSet.h"

namespace fillstation::endurance {

// The window over the virtual bench, worked with for a long time: everything is real but the
// players and the time. Throws when the window doesn't do what it should. Main thread, one at a
// time.
class LongDay {
 public:
  // The folder is everything that the program writes to; players are made there, none is plugged
  // in.
  LongDay(const std::string& folder, int players);
  ~LongDay();
  LongDay(const LongDay&) = delete;
  LongDay& operator=(const LongDay&) = delete;

  // Plugs all players in, or pulls all of them out; returns when the window shows it.
  void plugAll();
  void pullAll();
  // Chooses the folder of audio; once.
  void addAudio();
  // Fills all players, from All to the dismissed summary, and expects that none has failed.
  void run();

 private:
  // A log that nobody reads.
  class NoLog : public SystemLog {
    void write(std::string_view /*text*/) override {}
  };

  std::string name(int player) const { return "player" + std::to_string(player); }
  void awaitListed(int count);
  // Waits until it holds and no worker is left.
  void await(const std::function<bool()>& condition, const char* what);

  const std::string bench_;
  const std::string book_;
  const int players_;
  StopSource stop_;
  QtMainThread mainThread_{stop_};
  test::HurriedClock clock_{mainThread_};
  NoLog log_;
  ThreadWorkers workers_{stop_};
  std::unique_ptr<Bench> ports_;
  std::unique_ptr<WindowSet> windows_;
  long idleThreads_ = 0;
};

}  // namespace fillstation::endurance
