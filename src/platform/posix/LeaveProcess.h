#pragma once

#include <functional>
#include <thread>

namespace fillstation {

// Writes the rest of the log, flushes the standard streams and ends the process at once with the
// status. No destructor runs and no thread is waited for, so a thread that is stuck in the kernel
// doesn't matter. Streams without a reader are waited for 300 ms. Any thread.
[[noreturn]] void leaveProcess(int status);

// Turns SIGTERM, SIGINT and SIGHUP into a call on a separate thread, so that the program ends even
// if its main thread is stuck. Made on the main thread before any other thread, so that all of them
// block these signals. They stay blocked, and SIGPIPE stays ignored, afterwards.
class SignalQuit {
 public:
  // The callback runs once per signal taken, on the waiting thread, until the destructor begins.
  explicit SignalQuit(std::function<void()> callback);
  ~SignalQuit();
  SignalQuit(const SignalQuit&) = delete;
  SignalQuit& operator=(const SignalQuit&) = delete;

 private:
  std::jthread thread_;
};

}  // namespace fillstation
