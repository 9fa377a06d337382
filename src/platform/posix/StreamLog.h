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
// the stream's descriptor in one piece, after the stream's earlier contents. If another thread is
// writing, that thread writes the record next. So threads don't wait for each other's records,
// unless the stream accepts nothing while kMost bytes are waiting. A stream that fails loses the
// record. Any thread; the stream outlives it.
class StreamLog : public SystemLog {
 public:
  // The most bytes that wait for another thread's writing.
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

  // Returns when everything that was passed to these logs before is written.
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
  // All existing logs, for the end of the process.
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
