#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "Machine.h"
#include "TestFileManager.h"

namespace fillstation::explore {

// Makes the threads of a run take turns, so that a run with real threads happens the same way each
// time. A worker stops at each call that leaves the program until it is its turn. The main thread
// chooses whose turn it is, and waits until that thread stops again. A worker's hand-over to the
// main thread runs at once, as part of its turn. The coordinator takes part as kResult: it only
// hands over the result, which waits for its turn.
class LockStep {
 public:
  static constexpr const char* kResult = "result";

  explicit LockStep(test::TestMainThread& mainThread) : mainThread_(mainThread) {}

  // Main thread.

  // A run has begun with this number of workers; returns when all of them have stopped for the
  // first time.
  void begin(std::size_t workers);
  // The names of the workers that wait for their turn.
  std::set<std::string> waiting();
  // One turn: returns when the worker has stopped again, or has ended.
  void turn(const std::string& name);
  // Of a run: whether all workers have ended and only the result is left.
  bool isResultDue();
  // The program is ending: all threads continue freely.
  void end();

  // Worker threads.

  // Stops; a thread that has no name yet gets this one, and without any doesn't stop.
  void stopHere(const std::string& name = "");
  // Whether this thread has a name.
  static bool isNamed();
  // The thread is done.
  void leave();

 private:
  bool isWaiting(const std::string& name);

  test::TestMainThread& mainThread_;
  std::mutex lock_;
  std::condition_variable changed_;
  std::map<std::string, bool> waits_;  // by name; the others are running
  bool ended_ = false;
};

// One launch of the program: TestPlatform over a machine that outlives it. Nothing happens
// automatically: requests wait until answerNext(), workers for their turn, and the main thread's
// queue for settle(). Main thread.
class Launch {
 public:
  explicit Launch(Machine& machine);
  ~Launch() { end(); }
  Launch(const Launch&) = delete;
  Launch& operator=(const Launch&) = delete;

  // Plugs a device in, or unplugs it. The bus's first walk reports a device that is already
  // present.
  void plug(const std::shared_ptr<Device>& device);
  void unplug(const std::shared_ptr<Device>& device);

  // Answers the oldest request of one of the disks that wait; it is chosen by their count.
  void answerOne(const std::function<std::size_t(std::size_t)>& choose);

  // Runs the main thread's queue.
  void settle();
  // Has the result of a run handed over, and returns when the coordinator has ended.
  void deliverResult();
  // The program is ending: its threads continue freely. end() waits for them.
  void stop();
  void end();

  // Called in each pause of the main thread, also in nested ones.
  std::function<void()> onPause;
  // Called when the window has received the arrival (true) or departure of a device.
  std::function<void(const std::shared_ptr<Device>&, bool)> onTold;
  // Called with each text of the log that the main thread writes.
  std::function<void(const std::string&)> onLog;

 private:
  class Opened;
  class MainLoop;
  struct PendingRequest {
    std::shared_ptr<Disk> disk;
    std::function<void()> answer;  // carries it out and completes it
  };

  void hookDisks();
  void hookBus();

  Machine& machine_;
  test::TestPlatform platform_;
  test::TestUsbBus bus_{platform_.mainThread};
  test::TestFileManager files_;
  std::unique_ptr<MainThread> mainLoop_;
  std::mutex requestsLock_;
  std::vector<PendingRequest> requests_;
  bool stopped_ = false;

 public:
  LockStep turns{platform_.mainThread};
};

}  // namespace fillstation::explore
