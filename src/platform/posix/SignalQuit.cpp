#include "SignalQuit.h"

#include <pthread.h>

#include <csignal>
#include <utility>

namespace fillstation {

namespace {

sigset_t quitSignals() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGTERM);
  ::sigaddset(&signals, SIGINT);
  ::sigaddset(&signals, SIGHUP);
  return signals;
}

}  // namespace

SignalQuit::SignalQuit(std::function<void()> callback) : callback_(std::move(callback)) {
  const sigset_t signals = quitSignals();
  ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  thread_ = std::thread([this] { wait(); });
}

SignalQuit::~SignalQuit() {
  ending_ = true;
  ::pthread_kill(thread_.native_handle(), SIGHUP);  // one of those that it takes
  thread_.join();
}

void SignalQuit::wait() {
  const sigset_t signals = quitSignals();
  for (;;) {
    int taken = 0;
    ::sigwait(&signals, &taken);
    if (ending_) {
      return;
    }
    callback_();
  }
}

}  // namespace fillstation
