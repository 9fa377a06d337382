#include "StreamLog.h"

#include <set>

#include "FileHandle.h"

namespace fillstation {

namespace {

// Those that there are, for whoever ends the process. Never destroyed: a process may be left while
// other threads finish logging.
struct Logs {
  std::mutex lock;
  std::set<StreamLog*> all;
};
Logs& logs = *new Logs;

}  // namespace

StreamLog::StreamLog(std::FILE* stream) : stream_(stream) {
  const std::scoped_lock guard(logs.lock);
  logs.all.insert(this);
}

StreamLog::~StreamLog() {
  const std::scoped_lock guard(logs.lock);
  logs.all.erase(this);
}

void StreamLog::settleAll() {
  const std::scoped_lock guard(logs.lock);
  for (auto* const log : logs.all) {
    std::unique_lock own(log->lock_);
    log->wrote_.wait(own, [log] { return !log->writing_; });
  }
}

void StreamLog::writeEach(std::span<const std::string> texts) {
  std::unique_lock guard(lock_);
  wrote_.wait(guard, [this] { return waiting_.size() < kMost; });
  for (const auto& text : texts) {
    waiting_ += text;
    waiting_ += '\n';
  }
  if (writing_) {
    return;
  }
  writing_ = true;
  while (!waiting_.empty()) {
    std::swap(waiting_, beingWritten_);
    guard.unlock();
    std::fflush(stream_);
    writeAll(::fileno(stream_), beingWritten_);
    guard.lock();
    beingWritten_.clear();
    writing_ = !waiting_.empty();
    wrote_.notify_all();
  }
}

}  // namespace fillstation
