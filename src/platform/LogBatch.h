#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Platform.h"

namespace fillstation {

// Texts for the system log that come in large numbers: they are recorded many at a time, in order,
// the last ones when the batch goes or the process leaves. In one block of code of one thread; one
// batch at a time.
class LogBatch {
 public:
  static constexpr std::size_t kMost = 256;

  LogBatch() { setCurrent(this); }
  ~LogBatch() {
    setCurrent(nullptr);
    record();
  }
  LogBatch(const LogBatch&) = delete;
  LogBatch& operator=(const LogBatch&) = delete;

  void add(std::string text) {
    const std::scoped_lock guard(lock_);
    texts_.push_back(std::move(text));
    if (texts_.size() == kMost) {
      record();
    }
  }

  // Records what the batch that there is holds, if there is one: the process is about to leave. Any
  // thread.
  static void recordCurrent() {
    const std::scoped_lock guard(lock_);
    if (current_ != nullptr) {
      current_->record();
    }
  }

 private:
  static void setCurrent(LogBatch* batch) {
    const std::scoped_lock guard(lock_);
    current_ = batch;
  }
  void record() {
    platform().systemLog->writeEach(texts_);
    texts_.clear();
  }

  static inline std::mutex lock_;
  static inline LogBatch* current_ = nullptr;

  std::vector<std::string> texts_;
};

}  // namespace fillstation
