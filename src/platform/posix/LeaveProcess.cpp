#include "LeaveProcess.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdio>
#include <mutex>

#include "StreamLog.h"

namespace fillstation {

namespace {

struct Flush {
  std::mutex lock;
  std::condition_variable changed;
  bool done = false;
};

// A thread of its own: a stream whose reader has stopped, or that another thread has locked, holds
// this one and not the process.
void* flushStreams(void* context) {
  auto& flush = *static_cast<Flush*>(context);
  LogBatch::recordCurrent();
  StreamLog::settleAll();
  std::fflush(stdout);
  std::fflush(stderr);
  const std::scoped_lock guard(flush.lock);
  flush.done = true;
  flush.changed.notify_all();
  return nullptr;
}

}  // namespace

void leaveProcess(int status) {
  Flush flush;
  pthread_t thread{};
  ::pthread_create(&thread, nullptr, flushStreams, &flush);
  ::pthread_detach(thread);
  std::unique_lock guard(flush.lock);
  if (!flush.changed.wait_for(guard, kLeaveFlushLimit, [&] { return flush.done; })) {
    // Not _exit, which under a sanitizer flushes once more and would be stuck as well.
    ::syscall(SYS_exit_group, status);
  }
  ::_exit(status);
}

}  // namespace fillstation
