#pragma once

#include <functional>
#include <thread>

namespace fillstation {

// Records what the log still holds, flushes the standard streams and ends the process at once
// with the status: no destructor runs and no thread is waited for, so that one that is stuck in the
// kernel can't hold it. Streams that nobody reads are waited for 300 ms. Any thread.
[[noreturn]] void leaveProcess(int status);

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
  std::jthread thread_;
};

}  // namespace fillstation
