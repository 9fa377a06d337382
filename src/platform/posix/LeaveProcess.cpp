#include "LeaveProcess.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <future>
#include <utility>

#include "StreamLog.h"

namespace fillstation {

namespace {

// A separate thread: a stream whose reader has stopped, or that another thread has locked, blocks
// this thread and not the process.
void* flushStreams(void* flushed) {
  LogBatch::recordCurrent();
  StreamLog::settleAll();
  std::fflush(stdout);
  std::fflush(stderr);
  static_cast<std::promise<void>*>(flushed)->set_value();
  return nullptr;
}

}  // namespace

void leaveProcess(int status) {
  std::promise<void> flushed;
  pthread_t thread{};
  ::pthread_create(&thread, nullptr, flushStreams, &flushed);
  ::pthread_detach(thread);
  if (flushed.get_future().wait_for(std::chrono::milliseconds(300)) != std::future_status::ready) {
    // Not _exit, which flushes again under a sanitizer and would get stuck too.
    ::syscall(SYS_exit_group, status);
  }
  ::_exit(status);
}

SignalQuit::SignalQuit(std::function<void()> callback) {
  sigset_t signals;
  ::sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    ::sigaddset(&signals, signal);
  }
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  thread_ = std::jthread([signals, callback = std::move(callback)](const std::stop_token& ending) {
    for (;;) {
      int taken = 0;
      ::sigwait(&signals, &taken);
      if (ending.stop_requested()) {
        return;
      }
      callback();
    }
  });
}

SignalQuit::~SignalQuit() {
  thread_.request_stop();
  ::pthread_kill(thread_.native_handle(), SIGHUP);  // one of the signals that it waits for
}

}  // namespace fillstation
