#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdio>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "FileHandle.h"
#include "SystemLog.h"

namespace fillstation {

// The system log on a standard stream: each text followed by one line feed. Every record reaches
// the stream's descriptor in one piece, behind whatever the stream still held: at once, or, while
// another thread is writing there, with what that one writes next. So no thread waits for another's
// record, but for a stream that takes nothing while kMost bytes wait. A stream that fails loses the
// record. Any thread; the stream outlives it.
class StreamLog : public SystemLog {
 public:
  // Bytes that wait at most for another thread's writing.
  static constexpr std::size_t kMost = std::size_t{1} << 20;

  explicit StreamLog(std::FILE* stream) : stream_(stream) {
    const std::scoped_lock guard(logs_.lock);
    logs_.all.insert(this);
  }
  ~StreamLog() override {
    const std::scoped_lock guard(logs_.lock);
    logs_.all.erase(this);
  }
  StreamLog(const StreamLog&) = delete;
  StreamLog& operator=(const StreamLog&) = delete;

  // Returns when everything that any of these logs was given before is written.
  static void settleAll() {
    const std::scoped_lock guard(logs_.lock);
    for (auto* const log : logs_.all) {
      std::unique_lock own(log->lock_);
      log->wrote_.wait(own, [log] { return !log->writing_; });
    }
  }

  void write(std::string_view text) override { writeEach(std::array{std::string(text)}); }
  // Several records in one piece.
  void writeEach(std::span<const std::string> texts) override {
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

 private:
  // Those that there are, for whoever ends the process.
  struct Logs {
    std::mutex lock;
    std::set<StreamLog*> all;
  };
  // Never destroyed: a process may be left while other threads finish logging.
  static inline Logs& logs_ = *new Logs;

  std::FILE* stream_;
  std::mutex lock_;
  std::condition_variable wrote_;
  std::string waiting_;
  std::string beingWritten_;
  bool writing_ = false;
};

}  // namespace fillstation
