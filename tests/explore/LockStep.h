#pragma once

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace fillstation::explore {

// Makes the threads of a run take turns, so that a run with real threads happens the same way each
// time. A worker stops at each call that leaves the program until it is its turn; the main thread
// says whose turn it is, and waits until that one stops again. What a worker hands over to the main
// thread runs there at once, as part of its turn. The coordinator only ever hands over the result,
// which waits until it is asked for.
class LockStep {
 public:
  // Main thread.

  // A run is about to begin that will have so many workers. It has, and when this returns all of
  // them have stopped for the first time.
  void expectWorkers(std::size_t workers);
  void begin();
  // The names of the workers that wait for their turn.
  std::set<std::string> waiting();
  // One turn: returns when the worker has stopped again, or has ended.
  void turn(const std::string& name);
  // Whether all workers have ended and only the result is left; delivers it, and returns when the
  // coordinator has ended.
  bool isResultDue();
  void deliverResult();
  // The program is ending: everybody goes on freely, nothing is handed over any more.
  void end();

  // Worker threads.

  // What is called by this name runs on this thread: who it is, and stops.
  void introduce(const std::string& name);
  // Stops; false when the program is ending. A thread that was not introduced doesn't stop.
  bool stopHere();
  // The worker is done.
  void leave();
  // Runs the callable on the main thread; false when the program is ending.
  bool handOver(const std::function<void()>& callable);
  // The coordinator is about to be started (main thread), is this thread, has ended.
  void expectCoordinator();
  void coordinatorBegins();
  void coordinatorEnds();

 private:
  enum class State { kWaiting, kRunning, kEnded };

  // Waits on the main thread, which is stuck if that takes a minute.
  void await(std::unique_lock<std::mutex>& guard, const std::function<bool()>& holds,
             const std::string& what);
  // Runs what was handed over, if anything was.
  void run(const std::function<void()>*& place, std::unique_lock<std::mutex>& guard);

  std::mutex lock_;
  std::condition_variable changed_;
  std::map<std::string, State> workers_;
  std::size_t expected_ = 0;
  const std::function<void()>* handed_ = nullptr;
  const std::function<void()>* result_ = nullptr;
  const std::function<void()>* begun_ = nullptr;
  bool coordinates_ = false;
  bool ended_ = false;
};

}  // namespace fillstation::explore
