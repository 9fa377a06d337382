#pragma once

#include <atomic>
#include <functional>
#include <thread>

namespace fillstation {

// Turns SIGTERM, SIGINT and SIGHUP into a call on a thread of its own, so that the program ends
// even while its main thread is stuck. Made on the main thread before any other thread, which all
// inherit that these signals are blocked; they stay blocked, and SIGPIPE stays ignored, afterwards.
class SignalQuit {
 public:
  // The callback runs once per signal taken, on the waiting thread, until the destructor begins.
  explicit SignalQuit(std::function<void()> callback);
  ~SignalQuit();
  SignalQuit(const SignalQuit&) = delete;
  SignalQuit& operator=(const SignalQuit&) = delete;

 private:
  void wait();

  std::function<void()> callback_;
  std::atomic<bool> ending_{false};
  std::thread thread_;
};

}  // namespace fillstation
