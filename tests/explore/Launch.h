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
// time. A worker stops at each call that leaves the program until it is its turn; the main thread
// says whose turn it is, and waits until that one stops again. What a worker hands over to the main
// thread runs there at once, as part of its turn. The coordinator takes part as kResult: it only
// ever hands over the result, which waits until it is asked for.
class LockStep {
 public:
  static constexpr const char* kResult = "result";

  explicit LockStep(test::TestMainThread& mainThread) : mainThread_(mainThread) {}

  // Main thread.

  // A run has begun with so many workers; when this returns all of them have stopped for the first
  // time.
  void begin(std::size_t workers);
  // The names of the workers that wait for their turn.
  std::set<std::string> waiting();
  // One turn: returns when the worker has stopped again, or has ended.
  void turn(const std::string& name);
  // Of a run: whether all workers have ended and only the result is left.
  bool isResultDue();
  // The program is ending: everybody goes on freely.
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
  std::map<std::string, bool> waits_;  // by name; those that don't are under way
  bool ended_ = false;
};

// One launch of the program: TestPlatform over a machine that outlives it. Nothing happens by
// itself: requests wait until answerNext(), workers for their turn, and the main thread's queue for
// settle(). Main thread.
class Launch {
 public:
  explicit Launch(Machine& machine);
  ~Launch() { end(); }
  Launch(const Launch&) = delete;
  Launch& operator=(const Launch&) = delete;

  // A device is plugged in, or pulled out. One that is there before the window asks is told of by
  // the bus's first walk.
  void plug(const std::shared_ptr<Device>& device);
  void unplug(const std::shared_ptr<Device>& device);

  // Answers the oldest request of one of the disks that wait; it is chosen by their count.
  void answerOne(const std::function<std::size_t(std::size_t)>& choose);

  // Works off what is queued for the main thread.
  void settle();
  // Has the result of a run handed over, and returns when the coordinator has ended.
  void deliverResult();
  // The program is ending: its threads go on freely. end() waits for them, outside of whatever they
  // may wait for.
  void stop();
  void end();

  // Called in each pause of the main thread, nested in whatever pauses.
  std::function<void()> onPause;
  // Called when the window has been told of a device that came (true) or left.
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
